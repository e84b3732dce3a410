// Takes the text of a ".strings" file apart. Internal to StringTable; one thread.
//
//     /* comment */  // comment
//     "key" = "text";    word = "text";    "key and text";
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

class StringTableScanner {
public:
    /// Valid UTF-8, which must outlive the scanner.
    explicit StringTableScanner(std::string_view text) : text_(text) {}

    /// The next pair. False at the end of the text and at a fault.
    bool takePair(std::string& key, std::string& string);
    /// What is wrong; empty while nothing is.
    const std::string& fault() const { return fault_; }
    /// The line of the fault, counted from 1.
    std::size_t line() const;

private:
    bool fail(std::string_view fault, std::size_t index);
    bool atEnd() const { return index_ >= text_.size(); }
    bool take(char wanted);
    bool skipBlanksAndComments();
    bool skipComment();
    bool takeString(std::string& string, std::string_view role);
    bool takeQuoted(std::string& string);
    bool takeEscape(std::string& string);
    bool takeOctal(std::string& string);
    bool takeUnicode(std::string& string);
    std::optional<char32_t> takeHexadecimal();

    std::string_view text_;
    std::size_t index_ = 0;
    std::size_t faultIndex_ = 0;
    std::string fault_;
};

}  // namespace quillmore::platform
