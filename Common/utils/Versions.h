// Version texts of this program and the four-part parser. Any thread.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillmore::platform {
class Bundle;
}

namespace quillmore {

/// A version of four parts, ordered part by part. One of three parts, as bundles and systems have,
/// bears its bugfix in the third.
struct Version {
    std::int32_t major = 0;
    std::int32_t minor = 0;
    std::int32_t build = 0;
    std::int32_t revision = 0;
    // NOLINTNEXTLINE(modernize-use-nullptr): the comparison's own zero is taken for a pointer.
    auto operator<=>(const Version&) const = default;
};
/// Only major and minor decide: what is older by its last parts alone will do.
bool isOlderRelease(const Version& version, const Version& than);

/// The build number that this program was made with, from QUILLMORE_BUILD_NUMBER, for example
/// 1856.0. Truncated when used.
extern const double Quillmore_ClientVersionNumber;

/// "1.15.4", or "1.15.4 (1856)" with the build: "CFBundleVersion", else `defaultBuildNumber`.
std::string versionOfBundleAsString(const platform::Bundle& bundle, std::int32_t defaultBuildNumber,
                                    bool withBuild);
/// The same for the main bundle, computed once for the life of the process.
std::string versionOfThisAppAsString(bool withBuild);
/// The number in parentheses of "SHORT (BUILD)"; a text of another shape fails an assertion.
std::int32_t buildNumberFromVersionStr(std::string_view versionString);
/// One part ("2") or four parts ("1.15.4 (1856)", "1.15.4.1856"); everything else gives zeros and
/// an error line.
Version microsoftStyleVersionFromString(std::string_view string);

}  // namespace quillmore
