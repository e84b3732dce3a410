#include "Common/NSString+Substring.h"

#include <utf8proc.h>

#include <algorithm>
#include <vector>

#include "Platform/Values/TextEncoding.h"

namespace quillmore::Substring {

namespace {

using CodePoints = std::vector<utf8proc_int32_t>;

CodePoints folded(std::string_view text) {
    const std::string valid = platform::repairedUtf8(text);
    const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(valid.data());
    const auto size = static_cast<utf8proc_ssize_t>(valid.size());
    constexpr auto options = static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD);
    const utf8proc_ssize_t count = utf8proc_decompose(bytes, size, nullptr, 0, options);
    if (count <= 0) return {};
    CodePoints result(static_cast<std::size_t>(count));
    utf8proc_decompose(bytes, size, result.data(), count, options);
    return result;
}

/// An accent and the like, which belongs to the character before it.
bool isMark(utf8proc_int32_t codePoint) {
    const utf8proc_category_t category = utf8proc_category(codePoint);
    return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC ||
           category == UTF8PROC_CATEGORY_ME;
}

}  // namespace

bool hasCaseInsensitiveSubstring(std::string_view text, std::string_view substring) {
    const CodePoints wanted = folded(substring);
    if (wanted.empty()) return false;
    const CodePoints all = folded(text);
    for (auto from = all.begin();; ++from) {
        from = std::search(from, all.end(), wanted.begin(), wanted.end());
        if (from == all.end()) return false;
        const auto after = from + static_cast<std::ptrdiff_t>(wanted.size());
        if (after == all.end() || !isMark(*after)) return true;
    }
}

}  // namespace quillmore::Substring
