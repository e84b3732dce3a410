// Version texts of this program and the four-part parser. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillmore::platform {
class Bundle;
}

namespace quillmore {

/// "1.15.4", or "1.15.4 (1856)" with the build: "CFBundleVersion", else `defaultBuildNumber`.
std::string versionOfBundleAsString(const platform::Bundle& bundle, std::int32_t defaultBuildNumber,
                                    bool withBuild);
/// The same for the main bundle, computed once for the life of the process.
std::string versionOfThisAppAsString(bool withBuild);
/// The number in parentheses of "SHORT (BUILD)"; a text of another shape fails an assertion.
std::int32_t buildNumberFromVersionStr(std::string_view versionString);
/// One part ("2") or four parts ("1.15.4 (1856)", "1.15.4.1856"); everything else gives zeros and
/// an error line.
void microsoftStyleVersionFromString(std::string_view string, std::int32_t& major,
                                     std::int32_t& minor, std::int32_t& build,
                                     std::int32_t& revision);

}  // namespace quillmore
