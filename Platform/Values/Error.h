// An error that a function returns to its caller: a domain, a code and user information.
// Plain data, safe to hand between threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

/// Keys of the user information, as the platform names them.
inline constexpr const char* kLocalizedDescriptionKey = "NSLocalizedDescription";
inline constexpr const char* kLocalizedFailureReasonKey = "NSLocalizedFailureReason";

/// Domain of errors whose code is an error number of the C library.
inline constexpr const char* kPosixErrorDomain = "NSPOSIXErrorDomain";
/// Domain of file errors which no error number names: wrong format, too large, wrong kind.
inline constexpr const char* kFileErrorDomain = "QuillmoreFileErrorDomain";

class Error {
public:
    Error(std::string domain, std::int64_t code, Dictionary userInfo = {})
        : domain_(std::move(domain)), code_(code), userInfo_(std::move(userInfo)) {}

    /// An error of `kPosixErrorDomain` described by the C library's message for the number.
    static Error posix(int errorNumber);
    /// An error of `kFileErrorDomain`, code 0, with the given description.
    static Error file(std::string description);

    const std::string& domain() const { return domain_; }
    std::int64_t code() const { return code_; }
    const Dictionary& userInfo() const { return userInfo_; }

    /// The description in the user information, else "The operation couldn't be completed.
    /// (DOMAIN error CODE.)".
    std::string localizedDescription() const;
    /// Nothing when the user information has no failure reason.
    std::optional<std::string> localizedFailureReason() const;
    /// What `%@` prints: "Error Domain=DOMAIN Code=CODE "DESCRIPTION"".
    std::string description() const;

    bool operator==(const Error&) const = default;

private:
    std::string domain_;
    std::int64_t code_;
    Dictionary userInfo_;
};

}  // namespace quillmore::platform
