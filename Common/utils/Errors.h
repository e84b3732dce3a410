// Assertions, wrapped exceptions, and the texts of errors for the log. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Error.h"
#include "Platform/Values/Exception.h"
#include "Platform/Values/Format.h"

namespace quillmore {

/// The domain of every error that this program makes itself.
inline constexpr const char* ClientErrorDomain = "com.quillmore.client.ErrorDomain";
/// User-information key of an exception's chain, oldest first.
inline constexpr const char* kExceptionStackKey = "stack";

/// Logs "ASSERTION ERROR: ..." and aborts, or stops in an attached debugger.
[[noreturn]] void __assert2(const char* expression, const char* file, int line);
/// Stays in release builds.
#define QMAssert2(condition, text, file, line) \
    ((condition) ? static_cast<void>(0) : ::quillmore::__assert2((text), (file), (line)))
#define QMAssert(condition) QMAssert2(condition, #condition, __FILE__, __LINE__)

bool IsDebuggerPresent();
/// Raises; with a debugger attached stops there instead.
[[noreturn]] void __raiseException1(const std::string& name, std::string_view format,
                                    const platform::FormatArgument& argument);

/// A new exception of the same name with a new reason, its "stack" grown by the old one.
platform::Exception prepareExceptionWithArguments(
    const platform::Exception& exception, std::string_view format,
    std::span<const platform::FormatArgument> arguments);
template <class... Arguments>
platform::Exception prepareException(const platform::Exception& exception, std::string_view format,
                                     const Arguments&... arguments) {
    const platform::FormatArgument erased[sizeof...(arguments) + 1] = {
        platform::FormatArgument(arguments)..., nullptr};
    return prepareExceptionWithArguments(exception, format,
                                         std::span(erased, sizeof...(arguments)));
}

std::string errorExceptionToString(const platform::Exception& exception);
void logErrorException(const platform::Exception& exception);
platform::Error errorFromException(const platform::Exception& exception);
/// An absent error, or an absent part of one, prints "(null)".
std::string nserrorToString(const std::optional<platform::Error>& error);
void logNSError(const std::optional<platform::Error>& error);
std::string posixErrorToString(int errorNumber);
/// Deliberate: removes carriage returns only.
std::string _removeNewLinesInString(std::string_view text);

}  // namespace quillmore
