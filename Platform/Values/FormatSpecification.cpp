#include "Platform/Values/FormatSpecification.h"

#include <algorithm>

namespace quillmore::platform {

namespace {

/// Higher numbers only ever count as "too large", so they need not be told apart.
constexpr std::size_t kLargestNumber = 1'000'000;

class SpecificationParser {
public:
    explicit SpecificationParser(std::string_view text) : text_(text) {}

    FormatSpecification parse() {
        specification_.position = takePosition();
        while (takeFlag()) {
        }
        specification_.width = takeCount(FormatCount::Kind::none);
        // A point without digits is the precision 0.
        if (take('.')) specification_.precision = takeCount(FormatCount::Kind::number);
        takeLength();
        if (index_ < text_.size()) specification_.conversion = text_[index_++];
        specification_.text = text_.substr(0, index_);
        return specification_;
    }

private:
    bool take(char wanted) {
        if (index_ >= text_.size() || text_[index_] != wanted) return false;
        ++index_;
        return true;
    }

    std::optional<std::size_t> takeNumber() {
        std::optional<std::size_t> number;
        for (; index_ < text_.size() && text_[index_] >= '0' && text_[index_] <= '9'; ++index_) {
            const auto digit = static_cast<std::size_t>(text_[index_] - '0');
            number = std::min(number.value_or(0) * 10 + digit, kLargestNumber);
        }
        return number;
    }

    /// Digits with a '$' behind them; digits alone are left where they are.
    std::optional<std::size_t> takePosition() {
        const std::size_t start = index_;
        const auto number = takeNumber();
        if (number && take('$')) return number;
        index_ = start;
        return std::nullopt;
    }

    bool takeFlag() {
        if (take('-')) return specification_.leftAligned = true;
        if (take('+')) return specification_.plusSign = true;
        if (take(' ')) return specification_.blankSign = true;
        if (take('#')) return specification_.alternate = true;
        if (take('0')) return specification_.zeroPadded = true;
        // Grouping of digits: there is none without a locale.
        return take('\'');
    }

    FormatCount takeCount(FormatCount::Kind kindWithoutDigits) {
        if (take('*')) {
            const auto position = takePosition();
            if (position) return {FormatCount::Kind::argumentAt, *position};
            return {FormatCount::Kind::nextArgument, 0};
        }
        const auto number = takeNumber();
        if (number) return {FormatCount::Kind::number, *number};
        return {kindWithoutDigits, 0};
    }

    /// Arguments know their own size, so the longer ones change nothing.
    void takeLength() {
        while (index_ < text_.size() &&
               std::string_view("hlqjztL").find(text_[index_]) != std::string_view::npos) {
            if (text_[index_] == 'h') {
                specification_.length = specification_.length == FormatLength::half
                                            ? FormatLength::byte
                                            : FormatLength::half;
            } else {
                specification_.length = FormatLength::wide;
            }
            ++index_;
        }
    }

    std::string_view text_;
    std::size_t index_ = 1;
    FormatSpecification specification_;
};

}  // namespace

FormatSpecification parseFormatSpecification(std::string_view text) {
    return SpecificationParser(text).parse();
}

}  // namespace quillmore::platform
