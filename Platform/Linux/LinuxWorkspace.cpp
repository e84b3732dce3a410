#include "Platform/Linux/LinuxWorkspace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Linux/LinuxTrash.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kBundleExtension = ".app";
/// What lies here comes with macOS: the Finder, for one.
constexpr std::string_view kPartsOfTheSystem = "/System/Library/CoreServices/";

struct RunningApplication {
    std::uint64_t startTime = 0;
    pid_t process = 0;
    std::string bundlePath;
};

std::optional<std::string> informationText(const FileManager& fileManager,
                                           const std::string& bundlePath, const char* key) {
    const auto list =
        readPropertyList(fileManager, pathByAppending(bundlePath, "Contents/Info.plist"));
    const Dictionary* information = list ? list->dictionary() : nullptr;
    return information == nullptr ? std::nullopt : stringForKey(*information, key);
}

bool isRegularExecutable(const std::string& hostPath) {
    struct stat status {};
    return ::stat(hostPath.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(hostPath.c_str(), X_OK) == 0;
}

}  // namespace

std::vector<Dictionary> LinuxWorkspace::launchedApplications() {
    const uid_t user = ::getuid();
    std::vector<RunningApplication> running;
    for (const pid_t process : processes_.processes()) {
        const auto executable = processes_.executable(process);
        if (!executable) continue;
        auto bundlePath = bundlePathOfExecutable(pathUnderRoot(*executable));
        if (!bundlePath || processes_.realUser(process) != user) continue;
        const auto startTime = processes_.startTime(process);
        if (startTime) running.push_back({*startTime, process, std::move(*bundlePath)});
    }
    std::sort(running.begin(), running.end(), [](const auto& left, const auto& right) {
        return std::tie(left.startTime, left.process) < std::tie(right.startTime, right.process);
    });

    std::map<std::string, std::optional<std::string>> identifiers;
    std::vector<Dictionary> records;
    for (const RunningApplication& application : running) {
        const auto [known, isNew] = identifiers.try_emplace(application.bundlePath);
        if (isNew) known->second = identifierOfBundle(application.bundlePath);
        Dictionary record{{kApplicationProcessIdentifier, std::int64_t{application.process}}};
        if (known->second) record.emplace(kApplicationBundleIdentifier, *known->second);
        records.push_back(std::move(record));
    }
    return records;
}

bool LinuxWorkspace::launchApplication(const std::optional<std::string>& path) {
    if (!path) return false;
    if (isMissingPartOfTheSystem(*path)) {
        problems_.note("\"" + *path + "\": this system has none - nothing is launched");
        return true;
    }
    const auto executable = executableOf(*path);
    if (!executable || !isRegularExecutable(fileManager_.hostPath(*executable))) return false;
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing) return false;

    ProcessRequest request;
    request.launchPath = fileManager_.hostPath(*executable);
    request.standardInput = request.standardOutput = request.standardError = nothing.get();
    request.session = ProcessRequest::Session::own;
    try {
        spawner_.abandon(spawner_.spawn(request));
    } catch (const Exception&) {
        return false;
    }
    return true;
}

bool LinuxWorkspace::recycleFile(const std::string& folder, const std::string& name) {
    if (name.empty() || name.find('/') != std::string::npos) return false;
    const std::string home = homeTrash_.empty() ? homeTrashFolder(homeFolderOfUser()) : homeTrash_;
    return LinuxTrash(home, ::geteuid())
        .recycle(fileManager_.hostPath(pathByAppending(folder, name)));
}

bool LinuxWorkspace::isMissingPartOfTheSystem(const std::string& path) const {
    return path.starts_with(kPartsOfTheSystem) && !fileManager_.fileExists(path);
}

/// The kernel names programs from the real root; everything here is named from the file manager's.
std::string LinuxWorkspace::pathUnderRoot(std::string hostPath) const {
    const std::string root = fileManager_.hostPath("");
    if (!root.empty() && hostPath.starts_with(root + "/")) hostPath.erase(0, root.size());
    return hostPath;
}

std::optional<std::string> LinuxWorkspace::identifierOfBundle(const std::string& bundlePath) const {
    return informationText(fileManager_, bundlePath, "CFBundleIdentifier");
}

std::optional<std::string> LinuxWorkspace::executableOf(const std::string& path) const {
    const std::string folderName = lastPathComponent(path);
    if (!folderName.ends_with(kBundleExtension) || !fileManager_.isDirectory(path)) return path;
    std::string name = informationText(fileManager_, path, "CFBundleExecutable").value_or("");
    if (name.empty()) name = folderName.substr(0, folderName.size() - kBundleExtension.size());
    // A name, never a way out of the bundle.
    if (name.empty() || name.find('/') != std::string::npos) return std::nullopt;
    return pathByAppending(pathByAppending(path, "Contents/MacOS"), name);
}

}  // namespace quillmore::platform
