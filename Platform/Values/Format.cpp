#include "Platform/Values/Format.h"

#include <algorithm>

#include "Platform/Values/FormatNumbers.h"
#include "Platform/Values/FormatSpecification.h"
#include "Platform/Values/NumberText.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::platform {

namespace {

/// Blanks and zeros that the widths and precisions of one format may add together, and the length
/// at which the rest of a format is dropped: however a translation multiplies its arguments, the
/// memory holds.
constexpr std::size_t kMaximumPaddingBytes = std::size_t{1} << 20;
constexpr std::size_t kMaximumTextBytes = std::size_t{1} << 26;

std::string hexadecimalText(std::uint64_t value) {
    const NumberStyle style{'x', -1, false, false, false};
    return "0x" + unsignedParts(value, style).digits;
}

/// What `%@` prints. `storage` holds texts that are made on the way.
struct DisplayText {
    std::string& storage;

    std::string_view operator()(FormatArgument::Absent) const { return "(null)"; }
    std::string_view operator()(std::int64_t value) const {
        return storage = std::to_string(value);
    }
    std::string_view operator()(std::uint64_t value) const {
        return storage = std::to_string(value);
    }
    std::string_view operator()(double value) const { return storage = textFromDouble(value); }
    std::string_view operator()(std::string_view text) const { return text; }
    std::string_view operator()(const std::string& text) const { return text; }
    std::string_view operator()(FormatArgument::Pointer pointer) const {
        return storage = hexadecimalText(reinterpret_cast<std::uintptr_t>(pointer.address));
    }
};

std::uint64_t lowBytes(std::uint64_t value, std::size_t bytes) {
    return bytes >= sizeof(value) ? value : value & ((std::uint64_t{1} << (bytes * 8)) - 1);
}

bool isIn(char conversion, std::string_view conversions) {
    return conversion != 0 && conversions.find(conversion) != std::string_view::npos;
}

class Formatter {
public:
    Formatter(std::string_view format, std::span<const FormatArgument> arguments)
        : format_(format), arguments_(arguments) {}

    std::string run() {
        while (!format_.empty()) {
            const std::size_t percent = std::min(format_.find('%'), format_.size());
            text_ += format_.substr(0, percent);
            format_.remove_prefix(percent);
            if (format_.empty()) break;
            if (text_.size() > kMaximumTextBytes) return std::move(text_ += "(cut)");
            specification_ = parseFormatSpecification(format_);
            format_.remove_prefix(specification_.text.size());
            convert();
        }
        return std::move(text_);
    }

private:
    void convert() {
        const char conversion = specification_.conversion;
        if (conversion == '%') {
            text_ += '%';
            return;
        }
        if (!isIn(conversion, "@diuoxXcspfFeEgGaAn")) {
            text_ += specification_.text;
            return;
        }
        takeCounts();
        const FormatArgument* argument = specification_.position
                                             ? argumentAt(*specification_.position)
                                             : argumentAt(++lastPosition_);
        if (conversion == 'n') {
            text_ += "(%n)";
        } else if (argument == nullptr) {
            text_ += "(missing)";
        } else {
            print(*argument);
        }
    }

    const FormatArgument* argumentAt(std::size_t position) const {
        return position == 0 || position > arguments_.size() ? nullptr : &arguments_[position - 1];
    }

    /// Nothing for none, and for an argument that is no integer.
    std::optional<std::int64_t> valueOf(const FormatCount& count) {
        if (count.kind == FormatCount::Kind::none) return std::nullopt;
        if (count.kind == FormatCount::Kind::number) return static_cast<std::int64_t>(count.number);
        const FormatArgument* argument = count.kind == FormatCount::Kind::argumentAt
                                             ? argumentAt(count.number)
                                             : argumentAt(++lastPosition_);
        if (argument == nullptr) return std::nullopt;
        if (const auto* value = std::get_if<std::int64_t>(&argument->content())) return *value;
        if (const auto* value = std::get_if<std::uint64_t>(&argument->content())) {
            return static_cast<std::int64_t>(std::min<std::uint64_t>(*value, kMaximumFormatWidth));
        }
        return std::nullopt;
    }

    void takeCounts() {
        constexpr std::int64_t limit = kMaximumFormatWidth;
        const auto width = std::clamp(valueOf(specification_.width).value_or(0), -limit, limit);
        if (width < 0) specification_.leftAligned = true;
        width_ = static_cast<std::size_t>(width < 0 ? -width : width);
        const auto precision = valueOf(specification_.precision).value_or(-1);
        precision_ = static_cast<int>(std::clamp<std::int64_t>(precision, -1, limit));
    }

    void print(const FormatArgument& argument) {
        const auto& content = argument.content();
        const char conversion = specification_.conversion;
        if (isIn(conversion, "@s")) {
            printText(content);
        } else if (const auto* integer = std::get_if<std::int64_t>(&content)) {
            printSigned(*integer, argument);
        } else if (const auto* natural = std::get_if<std::uint64_t>(&content)) {
            printUnsigned(*natural, argument);
        } else if (const auto* real = std::get_if<double>(&content);
                   real != nullptr && isIn(conversion, "fFeEgGaA")) {
            printNumber(doubleParts(*real, style()));
        } else if (conversion == 'p' && std::holds_alternative<FormatArgument::Absent>(content)) {
            printPadded("0x0");
        } else {
            printOtherKind(content);
        }
    }

    /// A precision meant for a number must not cut a text.
    void printOtherKind(const FormatArgument::Content& content) {
        precision_ = -1;
        printText(content);
    }

    void printSigned(std::int64_t value, const FormatArgument& argument) {
        const char conversion = specification_.conversion;
        if (isIn(conversion, "di")) {
            if (specification_.length == FormatLength::half) value = static_cast<short>(value);
            if (specification_.length == FormatLength::byte) {
                // The sign is to be kept. NOLINTNEXTLINE(bugprone-signed-char-misuse)
                value = static_cast<std::int8_t>(value);
            }
            printNumber(signedParts(value, style()));
        } else {
            printUnsigned(static_cast<std::uint64_t>(value), argument);
        }
    }

    void printUnsigned(std::uint64_t value, const FormatArgument& argument) {
        const char conversion = specification_.conversion;
        if (isIn(conversion, "diuoxX")) {
            printNumber(unsignedParts(lowBytes(value, bytesOf(argument)), style()));
        } else if (conversion == 'c') {
            printCharacter(value);
        } else {
            printOtherKind(argument.content());
        }
    }

    /// As in C an argument is at least an int, unless "h" or "hh" say otherwise.
    std::size_t bytesOf(const FormatArgument& argument) const {
        if (specification_.length == FormatLength::byte) return sizeof(char);
        if (specification_.length == FormatLength::half) return sizeof(short);
        return std::max(argument.size(), sizeof(int));
    }

    /// A code point; the zero character would end the text for whoever reads it, so it is left out.
    void printCharacter(std::uint64_t codePoint) {
        std::string text;
        const auto held = std::min<std::uint64_t>(codePoint, 0x110000);
        if (codePoint != 0) appendUtf8(text, static_cast<char32_t>(held));
        printPadded(text);
    }

    void printText(const FormatArgument::Content& content) {
        std::string storage;
        std::string_view text = std::visit(DisplayText{storage}, content);
        if (precision_ >= 0) text = utf8Prefix(text, static_cast<std::size_t>(precision_));
        printPadded(text);
    }

    /// Widths count characters, not bytes.
    void printPadded(std::string_view text) {
        const std::size_t padding = width_ == 0 ? 0 : paddingFor(utf8Length(text));
        if (!specification_.leftAligned) text_.append(padding, ' ');
        text_ += text;
        if (specification_.leftAligned) text_.append(padding, ' ');
    }

    void printNumber(const NumberParts& parts) {
        const bool padsWithZeros =
            specification_.zeroPadded && !specification_.leftAligned && parts.mayBeZeroPadded;
        if (!padsWithZeros) return printPadded(parts.prefix + parts.digits);
        text_ += parts.prefix;
        text_.append(paddingFor(parts.prefix.size() + parts.digits.size()), '0');
        text_ += parts.digits;
    }

    std::size_t paddingFor(std::size_t length) {
        const std::size_t padding = width_ > length ? width_ - length : 0;
        if (padding > paddingLeft_) return 0;
        paddingLeft_ -= padding;
        return padding;
    }

    /// The precision of a number adds zeros too, so it draws on the same allowance.
    NumberStyle style() {
        const auto zeros = static_cast<std::size_t>(std::max(precision_, 0));
        if (zeros > paddingLeft_)
            precision_ = -1;
        else
            paddingLeft_ -= zeros;
        return NumberStyle{specification_.conversion, precision_, specification_.plusSign,
                           specification_.blankSign, specification_.alternate};
    }

    std::string_view format_;
    std::span<const FormatArgument> arguments_;
    FormatSpecification specification_;
    std::string text_;
    std::size_t lastPosition_ = 0;
    std::size_t paddingLeft_ = kMaximumPaddingBytes;
    std::size_t width_ = 0;
    int precision_ = -1;
};

}  // namespace

std::string formatWithArguments(std::string_view format,
                                std::span<const FormatArgument> arguments) {
    return Formatter(format, arguments).run();
}

}  // namespace quillmore::platform
