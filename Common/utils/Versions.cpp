#include "Common/utils/Versions.h"

#include <algorithm>
#include <tuple>

#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/SharedInstance.h"
#include "Platform/Values/Format.h"
#include "Platform/Values/Text.h"
#include "Platform/Values/Value.h"

// The build passes the number; a single file compiled by hand gets the release's.
#ifndef QUILLMORE_CLIENT_VERSION_NUMBER
#define QUILLMORE_CLIENT_VERSION_NUMBER 1856.0
#endif

namespace quillmore {

const double Quillmore_ClientVersionNumber = QUILLMORE_CLIENT_VERSION_NUMBER;

namespace {

constexpr const char* kFallbackShortVersion = "1.15.4";

std::string versionText(const platform::Dictionary* information, std::int32_t buildNumber,
                        bool withBuild) {
    std::string shortVersion = kFallbackShortVersion;
    if (information != nullptr) {
        if (const auto* value = platform::find(*information, "CFBundleShortVersionString"))
            shortVersion = value->description();
        const auto* build = platform::find(*information, "CFBundleVersion");
        if (build != nullptr && build->answersIntegerConversion()) buildNumber = build->intValue();
    }
    if (withBuild) return platform::format("%@ (%d)", shortVersion, buildNumber);
    return platform::format("%@", shortVersion);
}

const platform::Dictionary* mainInformation() {
    if (!platform::haveServices() || platform::services().mainBundle == nullptr) return nullptr;
    return platform::services().mainBundle->infoDictionary();
}

struct VersionsOfThisApp {
    std::string sVersionOfThisAppWithBuild = versionText(mainInformation(), defaultBuild(), true);
    std::string sVersionOfThisApp = versionText(mainInformation(), defaultBuild(), false);

    static std::int32_t defaultBuild() {
        return static_cast<std::int32_t>(Quillmore_ClientVersionNumber);
    }
};
platform::SharedInstance<VersionsOfThisApp> versionsOfThisApp;

std::string_view trimmed(std::string_view text, std::string_view characters) {
    const std::size_t first = text.find_first_not_of(characters);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

}  // namespace

std::string versionOfBundleAsString(const platform::Bundle& bundle, std::int32_t defaultBuildNumber,
                                    bool withBuild) {
    return versionText(bundle.infoDictionary(), defaultBuildNumber, withBuild);
}

std::string versionOfThisAppAsString(bool withBuild) {
    const VersionsOfThisApp& versions = versionsOfThisApp.get();
    return withBuild ? versions.sVersionOfThisAppWithBuild : versions.sVersionOfThisApp;
}

std::int32_t buildNumberFromVersionStr(std::string_view versionString) {
    const auto vAndB = platform::componentsSeparatedBy(versionString, ' ');
    QMAssert2(vAndB.size() == 2, "[vAndB count] == 2", "Common/utils", 98);
    return platform::int32FromText(trimmed(vAndB[1], "()"));
}

bool isOlderRelease(const Version& version, const Version& than) {
    return std::tie(version.major, version.minor) < std::tie(than.major, than.minor);
}

Version microsoftStyleVersionFromString(std::string_view string) {
    std::string text(string.substr(0, string.find('\n')));
    // Deliberate: every "a" and "b" goes, wherever it stands.
    for (const char* dropped : {"version ", "a", "b", "(", ")"})
        text = platform::stringByReplacing(text, dropped, "");
    std::replace(text.begin(), text.end(), ' ', '.');
    const auto parts = platform::componentsSeparatedBy(text, '.');
    const auto number = [&parts](std::size_t i) { return platform::int32FromText(parts[i]); };
    if (parts.size() == 1) return {number(0)};
    if (parts.size() == 4) return {number(0), number(1), number(2), number(3)};
    logError("Failed to extract version from string \"%@\"", string);
    return {};
}

}  // namespace quillmore
