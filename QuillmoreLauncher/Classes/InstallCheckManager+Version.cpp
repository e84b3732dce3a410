#include "QuillmoreLauncher/Classes/InstallCheckManager+Version.h"

#include <unistd.h>

#include <cerrno>

#include "Common/utils/Logging.h"
#include "Common/utils/PropertyLists.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"
#include "Platform/Processes/Task.h"
#include "Platform/Values/Text.h"
#include "QuillmoreLauncher/Classes/ToolBanner.h"

namespace quillmore {

namespace {

constexpr const char* kBundleInformation = "/Contents/Info.plist";
constexpr const char* kFrameworkInformation = "Versions/Current/Resources/Info.plist";
constexpr const char* kShortVersionKey = "CFBundleShortVersionString";

/// The short version in an information file inside the installed item; nothing when there is none
/// or it is empty.
std::optional<std::string> shortVersion(const RequiredItem& item, const char* relativePath,
                                        Damage damage) {
    const auto installPath = item.installPath();
    if (!installPath || installPath->empty()) return std::nullopt;
    const auto information =
        dictionaryWithContentsOfFile(platform::pathByAppending(*installPath, relativePath), damage);
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
                   getMacClientVersionAsString());
    } else {
        logVerbose("\"%@\" does not need to update from %@", item.installPath(), installed);
    }
    return isOlder;
}

}  // namespace

std::optional<Version> parseVersionString(const std::optional<std::string>& string) {
    if (!string) return std::nullopt;
    const auto parts = platform::componentsSeparatedBy(*string, '.');
    if (parts.size() != 3) return std::nullopt;
    return Version{platform::int32FromText(parts[0]), platform::int32FromText(parts[1]),
                   platform::int32FromText(parts[2])};
}

std::optional<Version> getBundleVersion(const RequiredItem& item) {
    return parseVersionString(shortVersion(item, kBundleInformation, Damage::isReported));
}

std::optional<Version> getFrameworkVersion(const RequiredItem& item) {
    return parseVersionString(shortVersion(item, kFrameworkInformation, Damage::isReported));
}

bool checkFrameworkVersion(const RequiredItem& item, const Version& installed) {
    const auto required = parseVersionString(item.version());
    if (!required) {
        logDetail("Failed to parse version string \"%@\"", item.version());
        return false;
    }
    logDetail("Found framework version string \"%@\" parsed as %d.%d.%d", item.version(),
              required->major, required->minor, required->build);
    const bool isUpToDate = installed >= *required;
    logDetail(isUpToDate ? "Found framework up-to-date" : "Found framework out-of-date");
    return isUpToDate;
}

std::optional<Version> getMacOSXVersion() {
    const platform::SystemInformation& system = *platform::services().systemInformation;
    const auto major = system.gestalt(platform::fourCharCode("sys1"));
    const auto minor = major ? system.gestalt(platform::fourCharCode("sys2")) : std::nullopt;
    const auto bugfix = minor ? system.gestalt(platform::fourCharCode("sys3")) : std::nullopt;
    if (!bugfix) return std::nullopt;
    return Version{*major, *minor, *bugfix};
}

bool checkMaxMacOSXVersion(const RequiredItem& item) {
    const auto newest = item.maxMacOSXVersion();
    const auto system = newest ? getMacOSXVersion() : std::nullopt;
    if (!system) return true;
    if (system->major != 10) return false;
    // Deliberate: "10.4" admits 10.4 alone, the others every earlier system too.
    if (newest == "10.4") return system->minor == 4;
    if (newest == "10.5") return system->minor < 6;
    if (newest == "10.6") return system->minor < 7;
    return false;
}

bool checkMinMacOSXVersion(const RequiredItem& item) {
    const auto oldest = item.minMacOSXVersion();
    const auto system = oldest ? getMacOSXVersion() : std::nullopt;
    if (!system) return true;
    // Deliberate: "10.4" answers no on every system, and "10.6" yes past major version 10 only.
    if (oldest == "10.5") return system->major == 10 && system->minor > 4;
    return oldest == "10.6" && system->major > 10;
}

std::string getMacClientVersionAsString() {
    return versionOfThisAppAsString(true);
}

Version getVersionFromString(const std::optional<std::string>& string) {
    if (string) return microsoftStyleVersionFromString(*string);
    logError("Failed to extract version from string \"%@\"", string);
    return {};
}

Version getMacClientVersion() {
    return getVersionFromString(getMacClientVersionAsString());
}

bool doesToolNeedUpdate(const RequiredItem& item) {
    const auto text = versionTextOfTool(item);
    const Version launcher = getMacClientVersion();
    return logUpdateTest(item, text, isOlderRelease(getVersionFromString(text), launcher));
}

// The bundle's build ("CFBundleVersion") says nothing here.
bool doesBundleNeedUpdate(const RequiredItem& item) {
    const auto text = shortVersion(item, kBundleInformation, Damage::isIgnored);
    const auto version = parseVersionString(text);
    if (!version) return true;
    return logUpdateTest(item, text, isOlderRelease(*version, getMacClientVersion()));
}

}  // namespace quillmore
