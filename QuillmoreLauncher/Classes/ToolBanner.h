// What an installed tool prints about itself: the version follows the word "Limited " of the
// banner. Takes any amount of output in bounded memory. Used by one thread at a time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillmore {

class ToolBanner {
public:
    /// Of a longer version text only so much is kept: the version stands in its first line.
    static constexpr std::size_t kMaximumVersionText = 1024 * 1024;

    /// The next piece of the output.
    void append(std::string_view bytes);
    /// What follows the last "Limited ", or the whole output when the word does not occur. Nothing
    /// when the output as a whole is not UTF-8.
    std::optional<std::string> versionText() const;

private:
    void checkEncoding(std::string_view bytes);

    std::string text_;
    std::string edge_;       ///< The end of what was seen: the word may lie across two pieces.
    std::string undecided_;  ///< The last character, which may lack bytes still.
    bool isUtf8_ = true;
};

}  // namespace quillmore
