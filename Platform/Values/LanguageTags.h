// Language names as bundles, users and environments spell them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmore::platform {

/// One spelling for comparing: lower case, hyphens, and the codes of the languages that older
/// bundles name in English ("German" -> "de").
std::string canonicalLanguage(std::string_view language);

/// Those of the available names that serve the language, best first: its own spelling, other
/// spellings of it, then the same for the language without its last part ("zh-Hant-TW", "zh-Hant",
/// "zh").
std::vector<std::string> namesForLanguage(std::string_view language,
                                          const std::vector<std::string>& available);

/// The environment's languages, most wanted first: LANGUAGE, LC_ALL, LC_MESSAGES and LANG as the C
/// library reads them ("de_AT.UTF-8" -> "de-AT").
std::vector<std::string> languagesOfEnvironment();

}  // namespace quillmore::platform
