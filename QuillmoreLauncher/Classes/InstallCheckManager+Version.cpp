// Versions: of installed bundles and tools, of the launcher and of the operating system.
#include <unistd.h>

#include <cerrno>
#include <tuple>

#include "Common/utils/Logging.h"
#include "Common/utils/PropertyLists.h"
#include "Common/utils/Text.h"
#include "Common/utils/Versions.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"
#include "Platform/Processes/Task.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"
#include "QuillmoreLauncher/Classes/ToolBanner.h"

namespace quillmore {

namespace {

constexpr const char* kBundleInformation = "/Contents/Info.plist";
constexpr const char* kFrameworkInformation = "Versions/Current/Resources/Info.plist";
constexpr const char* kShortVersionKey = "CFBundleShortVersionString";

/// The short version in an information file inside the installed item; nothing when there is none
/// or it is empty.
std::optional<std::string> shortVersion(const RequiredItem& item, const char* relativePath,
                                        Trouble trouble) {
    const auto installPath = item.installPath();
    if (!installPath || installPath->empty()) return std::nullopt;
    const auto information =
        dictionaryWithContentsOfFile(*item.installPathByAppending(relativePath), trouble);
    if (!information) return std::nullopt;
    auto version = platform::stringForKey(*information, kShortVersionKey);
    if (version && version->empty()) version.reset();
    return version;
}

/// What the tool prints when it is run without arguments. The output is read while the tool runs:
/// one that prints more than a pipe holds would never end otherwise.
std::optional<std::string> versionTextOfTool(const RequiredItem& item) {
    platform::Pipe pipe;
    platform::Task task(*platform::services().processes);
    task.setLaunchPath(item.installPath().value_or(""));
    task.setStandardOutput(pipe);
    task.launch();
    ToolBanner banner;
    char piece[16 * 1024];
    for (;;) {
        const ssize_t count = ::read(pipe.readEnd().get(), piece, sizeof piece);
        if (count > 0) banner.append(std::string_view(piece, static_cast<std::size_t>(count)));
        if (count == 0 || (count < 0 && errno != EINTR)) break;
    }
    task.waitUntilExit();
    return banner.versionText();
}

bool logUpdateTest(const RequiredItem& item, const std::optional<std::string>& installed,
                   bool isOlder) {
    if (isOlder) {
        logVerbose("\"%@\" needs to update from %@ to %@", item.installPath(), installed,
                   versionOfThisAppAsString(true));
    } else {
        logVerbose("\"%@\" does not need to update from %@", item.installPath(), installed);
    }
    return isOlder;
}

}  // namespace

bool InstallCheckManager::parseVersionString(const Text& string, std::int32_t& major,
                                             std::int32_t& minor, std::int32_t& bugfix) const {
    if (!string) return false;
    const auto parts = componentsSeparatedBy(*string, '.');
    if (parts.size() != 3) return false;
    major = platform::int32FromText(parts[0]);
    minor = platform::int32FromText(parts[1]);
    bugfix = platform::int32FromText(parts[2]);
    return true;
}

bool InstallCheckManager::getBundleVersion(const RequiredItem& item, std::int32_t& major,
                                           std::int32_t& minor, std::int32_t& bugfix) const {
    return parseVersionString(shortVersion(item, kBundleInformation, Trouble::isLogged), major,
                              minor, bugfix);
}

bool InstallCheckManager::getFrameworkVersion(const RequiredItem& item, std::int32_t& major,
                                              std::int32_t& minor, std::int32_t& bugfix) const {
    return parseVersionString(shortVersion(item, kFrameworkInformation, Trouble::isLogged), major,
                              minor, bugfix);
}

bool InstallCheckManager::checkFrameworkVersion(const RequiredItem& item, std::int32_t major,
                                                std::int32_t minor, std::int32_t bugfix) const {
    const auto version = item.version();
    std::int32_t requiredMajor = 0;
    std::int32_t requiredMinor = 0;
    std::int32_t requiredBugfix = 0;
    if (!parseVersionString(version, requiredMajor, requiredMinor, requiredBugfix)) {
        logDetail("Failed to parse version string \"%@\"", version);
        return false;
    }
    logDetail("Found framework version string \"%@\" parsed as %d.%d.%d", version, requiredMajor,
              requiredMinor, requiredBugfix);
    if (std::tie(major, minor, bugfix) < std::tie(requiredMajor, requiredMinor, requiredBugfix)) {
        logDetail("Found framework out-of-date");
        return false;
    }
    logDetail("Found framework up-to-date");
    return true;
}

bool InstallCheckManager::getMacOSXVersion(std::int32_t& major, std::int32_t& minor,
                                           std::int32_t& bugfix) const {
    const auto* system = platform::services().systemInformation;
    const std::pair<platform::FourCharCode, std::int32_t*> selectors[] = {
        {platform::fourCharCode("sys1"), &major},
        {platform::fourCharCode("sys2"), &minor},
        {platform::fourCharCode("sys3"), &bugfix}};
    for (const auto& [selector, part] : selectors) {
        const auto answer = system->gestalt(selector);
        if (!answer) return false;
        *part = *answer;
    }
    return true;
}

bool InstallCheckManager::checkMaxMacOSXVersion(const RequiredItem& item) const {
    const auto newest = item.maxMacOSXVersion();
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t bugfix = 0;
    if (!newest || !getMacOSXVersion(major, minor, bugfix)) return true;
    if (major != 10) return false;
    // Deliberate: "10.4" admits 10.4 alone, the others every earlier system too.
    if (newest == "10.4") return minor == 4;
    if (newest == "10.5") return minor < 6;
    if (newest == "10.6") return minor < 7;
    return false;
}

bool InstallCheckManager::checkMinMacOSXVersion(const RequiredItem& item) const {
    const auto oldest = item.minMacOSXVersion();
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t bugfix = 0;
    if (!oldest || !getMacOSXVersion(major, minor, bugfix)) return true;
    // Deliberate: "10.4" answers no on every system, and "10.6" yes past major version 10 only.
    if (oldest == "10.5" && major == 10 && minor > 4) return true;
    return oldest == "10.6" && major > 10;
}

std::string InstallCheckManager::getMacClientVersionAsString() const {
    return versionOfThisAppAsString(true);
}

void InstallCheckManager::getVersionFromString(const Text& string, std::int32_t& major,
                                               std::int32_t& minor, std::int32_t& build,
                                               std::int32_t& revision) const {
    if (string) return microsoftStyleVersionFromString(*string, major, minor, build, revision);
    major = minor = build = revision = 0;
    logError("Failed to extract version from string \"%@\"", string);
}

void InstallCheckManager::getMacClientVersion(std::int32_t& major, std::int32_t& minor,
                                              std::int32_t& build, std::int32_t& revision) const {
    getVersionFromString(getMacClientVersionAsString(), major, minor, build, revision);
}

// Only major and minor decide: deliberately, a tool that is older by a build alone, or newer than
// the launcher, will do.
bool InstallCheckManager::doesToolNeedUpdate(const RequiredItem& item) const {
    const Text text = versionTextOfTool(item);
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t build = 0;
    std::int32_t revision = 0;
    getMacClientVersion(major, minor, build, revision);
    const std::pair launcher(major, minor);
    getVersionFromString(text, major, minor, build, revision);
    return logUpdateTest(item, text, std::pair(major, minor) < launcher);
}

// Of the bundle too only major and minor decide; its build ("CFBundleVersion") says nothing here.
bool InstallCheckManager::doesBundleNeedUpdate(const RequiredItem& item) const {
    const Text text = shortVersion(item, kBundleInformation, Trouble::isSilent);
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t bugfix = 0;
    if (!parseVersionString(text, major, minor, bugfix)) return true;
    const std::pair bundle(major, minor);
    std::int32_t build = 0;
    std::int32_t revision = 0;
    getMacClientVersion(major, minor, build, revision);
    return logUpdateTest(item, text, bundle < std::pair(major, minor));
}

}  // namespace quillmore
