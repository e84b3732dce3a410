#include "Platform/Files/UserFolders.h"

#include <algorithm>

#include "Platform/Files/Paths.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kHome = "$HOME";

void skipBlanks(std::string_view& text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
}

bool skip(std::string_view& text, std::string_view expected) {
    skipBlanks(text);
    if (!text.starts_with(expected)) return false;
    text.remove_prefix(expected.size());
    return true;
}

/// Up to the closing quotation mark; nothing without one.
std::optional<std::string> quotedText(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') return result;
        if (text[i] == '\\' && ++i == text.size()) break;
        result += text[i];
    }
    return std::nullopt;
}

std::optional<std::string> folderOfLine(std::string_view line, std::string_view key,
                                        std::string_view homeFolder) {
    if (!skip(line, key) || !skip(line, "=") || !skip(line, "\"")) return std::nullopt;
    const bool belowHome = line.starts_with(kHome);
    if (belowHome) line.remove_prefix(kHome.size());
    auto path = quotedText(line);
    if (!path || !(path->starts_with('/') || (belowHome && path->empty()))) return std::nullopt;
    return belowHome ? pathByAppending(homeFolder, *path) : pathByAppending(*path, "");
}

}  // namespace

std::optional<std::string> userFolderInText(std::string_view text, std::string_view key,
                                            std::string_view homeFolder) {
    std::optional<std::string> folder;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (auto found = folderOfLine(text.substr(0, end), key, homeFolder))
            folder = std::move(found);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return folder;
}

}  // namespace quillmore::platform
