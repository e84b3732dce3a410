#include "Platform/Settings/UserLanguages.h"

#include <algorithm>

#include "Platform/Settings/UserDefaults.h"
#include "Platform/Values/LanguageTags.h"

namespace quillmore::platform {

namespace {

std::vector<std::string> languagesInText(const std::string& text) {
    constexpr const char* kSeparators = "(), \t\"";
    std::vector<std::string> languages;
    for (std::size_t start = text.find_first_not_of(kSeparators); start != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(kSeparators, start), text.size());
        languages.push_back(text.substr(start, end - start));
        start = text.find_first_not_of(kSeparators, end);
    }
    return languages;
}

}  // namespace

std::vector<std::string> preferredLanguages(const UserDefaults& defaults) {
    std::vector<std::string> languages;
    if (const auto wanted = defaults.objectForKey("AppleLanguages")) {
        if (const std::string* text = wanted->string()) languages = languagesInText(*text);
        if (const Array* array = wanted->array()) {
            for (const Value& entry : *array) {
                if (const std::string* language = entry.string()) languages.push_back(*language);
            }
        }
    }
    return languages.empty() ? languagesOfEnvironment() : languages;
}

}  // namespace quillmore::platform
