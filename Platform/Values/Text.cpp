#include "Platform/Values/Text.h"

#include <algorithm>

namespace quillmore::platform {

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

std::string lowerCase(std::string_view text) {
    std::string lowered(text);
    for (char& character : lowered) character = lowerCase(character);
    return lowered;
}

std::string stringByReplacing(std::string_view text, std::string_view target,
                              std::string_view replacement) {
    if (target.empty()) return std::string(text);
    std::string result;
    std::size_t start = 0;
    for (std::size_t found = text.find(target); found != std::string_view::npos;
         found = text.find(target, start)) {
        result += text.substr(start, found - start);
        result += replacement;
        start = found + target.size();
    }
    result += text.substr(start);
    return result;
}

std::vector<std::string_view> componentsSeparatedBy(std::string_view text, char separator) {
    std::vector<std::string_view> components;
    std::size_t start = 0;
    for (std::size_t found = text.find(separator); found != std::string_view::npos;
         found = text.find(separator, start)) {
        components.push_back(text.substr(start, found - start));
        start = found + 1;
    }
    components.push_back(text.substr(start));
    return components;
}

}  // namespace quillmore::platform
