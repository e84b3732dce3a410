#include "QuillmoreLauncher/Classes/ToolBanner.h"

#include <algorithm>

#include "Platform/Values/TextEncoding.h"

namespace quillmore {

namespace {
constexpr std::string_view kMarker = "Limited ";
}

void ToolBanner::append(std::string_view bytes) {
    checkEncoding(bytes);
    const std::string window = edge_ + std::string(bytes);
    const std::size_t marker = window.rfind(kMarker);
    if (marker != std::string::npos)
        text_ = window.substr(marker + kMarker.size());
    else
        text_ += bytes.substr(0, kMaximumVersionText - std::min(text_.size(), kMaximumVersionText));
    text_.resize(std::min(text_.size(), kMaximumVersionText));
    edge_ = window.substr(window.size() - std::min(window.size(), kMarker.size() - 1));
}

std::optional<std::string> ToolBanner::versionText() const {
    if (!isUtf8_ || !platform::isUtf8(undecided_)) return std::nullopt;
    return text_;
}

void ToolBanner::checkEncoding(std::string_view bytes) {
    undecided_ += bytes;
    std::size_t decided = undecided_.size();
    const auto isContinuation = [this](std::size_t i) { return (undecided_[i] & 0xC0) == 0x80; };
    while (decided > 0 && undecided_.size() - decided < 3 && isContinuation(decided - 1)) --decided;
    if (decided > 0) --decided;
    isUtf8_ = isUtf8_ && platform::isUtf8(std::string_view(undecided_).substr(0, decided));
    undecided_.erase(0, decided);
}

}  // namespace quillmore
