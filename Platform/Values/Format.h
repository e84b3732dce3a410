// `%@` and printf formatting over type-erased arguments. A format that does not fit its arguments
// (a translation gone wrong) prints something readable and never reads memory it should not.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "Platform/Values/Error.h"
#include "Platform/Values/Exception.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

/// One argument. Text is held by reference where the caller's object outlives the call (strings)
/// and by value where it is made on the way (values, errors).
class FormatArgument {
public:
    struct Absent {};
    struct Pointer {
        const void* address;
    };
    using Content = std::variant<Absent, std::int64_t, std::uint64_t, double, std::string_view,
                                 std::string, Pointer>;

    FormatArgument(std::nullptr_t) : content_(Absent{}) {}
    FormatArgument(std::nullopt_t) : content_(Absent{}) {}
    FormatArgument(const char* text)
        : content_(text == nullptr ? Content(Absent{}) : Content(std::string_view(text))) {}
    FormatArgument(const std::string& text) : content_(std::string_view(text)) {}
    FormatArgument(std::string_view text) : content_(text) {}
    FormatArgument(bool value) : content_(std::int64_t{value}), size_(sizeof(int)) {}
    template <std::signed_integral T>
    FormatArgument(T value) : content_(std::int64_t{value}), size_(sizeof(T)) {}
    template <std::unsigned_integral T>
    FormatArgument(T value) : content_(std::uint64_t{value}), size_(sizeof(T)) {}
    FormatArgument(double value) : content_(value) {}
    FormatArgument(const Value& value) : content_(value.description()) {}
    FormatArgument(const Error& error) : content_(error.description()) {}
    FormatArgument(const Exception& exception) : content_(exception.description()) {}
    FormatArgument(const void* address) : content_(Pointer{address}) {}
    template <class T>
    FormatArgument(const std::optional<T>& value) {
        if (value) *this = FormatArgument(*value);
    }

    const Content& content() const { return content_; }
    /// Bytes of an integer argument: `%x` of a negative 32-bit number prints eight digits.
    std::size_t size() const { return size_; }

private:
    Content content_ = Absent{};
    std::size_t size_ = sizeof(std::int64_t);
};

/// Conversions: `%@` (any argument; an absent one prints "(null)"), d i u o x X c s p f F e E g G a
/// A with flags, width, precision and length modifiers, `%%`, and positions ("%2$@"). A conversion
/// whose argument is missing prints "(missing)"; one of the wrong kind prints the argument as `%@`
/// does.
/// `%n` writes nothing anywhere and prints "(%n)".
std::string formatWithArguments(std::string_view format, std::span<const FormatArgument> arguments);

template <class... Arguments>
std::string format(std::string_view text, const Arguments&... arguments) {
    const FormatArgument erased[sizeof...(arguments) + 1] = {FormatArgument(arguments)...,
                                                             FormatArgument(nullptr)};
    return formatWithArguments(text, std::span(erased, sizeof...(arguments)));
}

}  // namespace quillmore::platform
