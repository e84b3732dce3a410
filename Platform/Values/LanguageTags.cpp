#include "Platform/Values/LanguageTags.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "Platform/Values/Text.h"

namespace quillmore::platform {

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kNamesOfOlderBundles = {
    {{"english", "en"},
     {"german", "de"},
     {"french", "fr"},
     {"italian", "it"},
     {"spanish", "es"},
     {"dutch", "nl"},
     {"japanese", "ja"}}};

void appendOnce(std::vector<std::string>& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

std::string environment(const char* name) {
    const char* text = std::getenv(name);
    return text == nullptr ? std::string() : text;
}

/// "de_AT.UTF-8@euro" -> "de-AT"; empty for what names no language.
std::string languageOfLocale(std::string_view locale) {
    std::string language(locale.substr(0, locale.find_first_of(".@")));
    if (language == "C" || language == "POSIX") return {};
    std::replace(language.begin(), language.end(), '_', '-');
    const bool isName = std::all_of(language.begin(), language.end(), [](char character) {
        const char lower = lowerCase(character);
        return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9') || lower == '-';
    });
    return isName ? language : std::string();
}

/// The colon list of LANGUAGE, as far as it goes: "C" in it means that no translation is wanted
/// after those before it.
std::vector<std::string> languagesInList(std::string_view list) {
    std::vector<std::string> languages;
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(':'));
        list.remove_prefix(std::min(item.size() + 1, list.size()));
        if (item == "C" || item == "POSIX") break;
        const std::string language = languageOfLocale(item);
        if (!language.empty()) appendOnce(languages, language);
    }
    return languages;
}

}  // namespace

std::string canonicalLanguage(std::string_view language) {
    std::string canonical = lowerCase(language);
    std::replace(canonical.begin(), canonical.end(), '_', '-');
    for (const auto& [name, code] : kNamesOfOlderBundles) {
        if (canonical == name) return std::string(code);
    }
    return canonical;
}

std::vector<std::string> namesForLanguage(std::string_view language,
                                          const std::vector<std::string>& available) {
    std::vector<std::string> names;
    while (!language.empty()) {
        for (const std::string& name : available) {
            if (name == language) appendOnce(names, name);
        }
        const std::string wanted = canonicalLanguage(language);
        for (const std::string& name : available) {
            if (canonicalLanguage(name) == wanted) appendOnce(names, name);
        }
        const std::string_view::size_type lastPart = language.find_last_of("-_");
        language = language.substr(0, lastPart == std::string_view::npos ? 0 : lastPart);
    }
    return names;
}

std::vector<std::string> languagesOfEnvironment() {
    std::string locale = environment("LC_ALL");
    if (locale.empty()) locale = environment("LC_MESSAGES");
    if (locale.empty()) locale = environment("LANG");
    const std::string language = languageOfLocale(locale);
    if (language.empty()) return {};  // the C locale wants no translation, whatever LANGUAGE says
    if (const std::string list = environment("LANGUAGE"); !list.empty())
        return languagesInList(list);
    return {language};
}

}  // namespace quillmore::platform
