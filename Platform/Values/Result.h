// The outcome of an operation that can fail: its value or an error. Stands in for std::expected,
// which this compiler generation does not have yet.
#pragma once

#include <utility>
#include <variant>

#include "Platform/Values/Error.h"

namespace quillmore::platform {

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

    bool hasValue() const { return content_.index() == 0; }
    explicit operator bool() const { return hasValue(); }

    /// Only when there is a value.
    T& value() & { return std::get<0>(content_); }
    const T& value() const& { return std::get<0>(content_); }
    T&& value() && { return std::get<0>(std::move(content_)); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    /// Only when there is no value.
    const Error& error() const { return std::get<1>(content_); }

private:
    std::variant<T, Error> content_;
};

}  // namespace quillmore::platform
