#include "UpdateTool/Commands/InstalledVersions.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/InfoPropertyList.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr std::string_view kBannerMark = "Limited ";
/// Of a path in a bundle, with its links.
constexpr int kMostSteps = 32;
constexpr off_t kMaximumInfoSize = 1 << 20;
constexpr off_t kMaximumToolSize = 1 << 30;
/// Where bundles and the two layouts of frameworks keep it.
constexpr const char* kInfoPaths[] = {"Contents/Info.plist", "Resources/Info.plist",
                                      "Versions/Current/Resources/Info.plist"};

/// A number at the start of the text, which is shortened by it.
std::optional<std::uint32_t> takeNumber(std::string_view& text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{}) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// "1.15.4 (1856)", "1.15.4.1856", "1.15.4", "1.15": at least two numbers at the start of the text.
std::optional<Version> parseVersion(std::string_view text) {
    Version version{};
    std::size_t count = 0;
    while (count < version.size()) {
        const std::optional<std::uint32_t> number = takeNumber(text);
        if (!number) break;
        version[count++] = *number;
        if (text.starts_with(".")) {
            text.remove_prefix(1);
        } else if (text.starts_with(" (")) {
            text.remove_prefix(2);
            version[3] = takeNumber(text).value_or(0);
            break;
        } else {
            break;
        }
    }
    return count < 2 ? std::nullopt : std::optional(version);
}

std::string linkTarget(int folder, const std::string& name) {
    std::array<char, 256> text{};
    const ssize_t size = ::readlinkat(folder, name.c_str(), text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

/// A file in a bundle. Links inside it are followed, for frameworks are made of them, as long as
/// they lead downwards; nothing else is read, and nothing that is mounted in it.
FileDescriptor openInBundle(int bundle, std::string path) {
    FileDescriptor folder = openFolder(bundle, ".");
    for (int steps = 0; folder && steps < kMostSteps; ++steps) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string name = path.substr(0, end);
        const std::string rest = path.substr(end);
        struct stat status {};
        if (name.empty() || name == ".." || !examineEntry(folder.get(), name, status)) return {};
        if (S_ISLNK(status.st_mode)) {
            path = linkTarget(folder.get(), name) + rest;
        } else if (rest.empty()) {
            return openEntry(folder.get(), name, O_RDONLY | O_NONBLOCK);
        } else {
            folder = openFolder(folder.get(), name);
            path = rest.substr(1);
        }
    }
    return {};
}

bool isCallersToReplace(const Context& context, const struct stat& status) {
    return context.administrator || status.st_uid == context.callerUser;
}

std::string readInfo(int bundle, const char* path) {
    const FileDescriptor file = openInBundle(bundle, path);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kMaximumInfoSize)
        return "";
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    return readUpTo(file.get(), text.data(), text.size()) == text.size() ? text : "";
}

}  // namespace

std::optional<Version> versionOfInfo(std::string_view propertyList) {
    const auto strings = stringsOfInfo(propertyList);
    const auto valueOf = [&](const char* key) {
        const auto found = strings.find(key);
        return found == strings.end() ? std::string() : found->second;
    };
    std::optional<Version> version = parseVersion(valueOf("CFBundleShortVersionString"));
    const std::string build = valueOf("CFBundleVersion");
    std::string_view number = build;
    if (version && !build.empty()) (*version)[3] = takeNumber(number).value_or(0);
    return version;
}

std::optional<Version> versionOfTool(const Bytes& bytes) {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    for (std::size_t at = text.find(kBannerMark); at != std::string_view::npos;
         at = text.find(kBannerMark, at + 1)) {
        const auto version = parseVersion(text.substr(at + kBannerMark.size(), 64));
        if (version) return version;
    }
    return std::nullopt;
}

std::optional<Version> versionOfInstalledTool(int folder, const std::string& name) {
    const FileDescriptor file = openEntry(folder, name, O_RDONLY | O_NONBLOCK);
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kMaximumToolSize)
        return std::nullopt;
    Bytes bytes(static_cast<std::size_t>(status.st_size));
    if (readUpTo(file.get(), bytes.data(), bytes.size()) != bytes.size())
        failWithSystemError(EX_IOERR, "cannot read the installed " + quoted(name));
    return versionOfTool(bytes);
}

std::optional<Version> versionOfBundle(const Context& context, int parent,
                                       const std::string& name) {
    const FileDescriptor bundle = openFolder(parent, name);
    struct stat status {};
    if (!bundle || ::fstat(bundle.get(), &status) != 0) return std::nullopt;
    if (!isTrusted(context, status) && isCallersToReplace(context, status)) return std::nullopt;
    for (const char* path : kInfoPaths)
        if (const auto version = versionOfInfo(readInfo(bundle.get(), path))) return version;
    return std::nullopt;
}

void requireNotOlder(const std::optional<Version>& incoming,
                     const std::optional<Version>& installed, const std::string& name) {
    if (!installed) return;
    if (!incoming) fail(EX_DATAERR, quoted(name) + " has no version; the installed one has");
    if (*incoming < *installed) fail(EX_DATAERR, quoted(name) + " is older than the installed one");
}

}  // namespace quillmore::updatetool
