#include "UpdateTool/Ground/Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quillmore::updatetool {

void fail(int exitStatus, const std::string& text) {
    throw Failure(exitStatus, text);
}

void failWithSystemError(int exitStatus, const std::string& text) {
    fail(exitStatus, text + ": " + std::strerror(errno));
}

std::string quoted(const std::string& path) {
    constexpr std::size_t kLongest = 1024;
    std::string text = path.size() > kLongest ? path.substr(0, kLongest) + "..." : path;
    const auto isMisleading = [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == 0x7f || c == '"';
    };
    std::replace_if(text.begin(), text.end(), isMisleading, '?');
    return '"' + text + '"';
}

}  // namespace quillmore::updatetool
