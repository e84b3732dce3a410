// The only exception type that this program throws: a name, a reason and user information.
// It unwinds to the edge of a work unit (a main-loop callback, a thread's body), never further.
#pragma once

#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillmore::platform {

inline constexpr const char* kGenericException = "NSGenericException";
inline constexpr const char* kInvalidArgumentException = "NSInvalidArgumentException";

class Exception : public std::exception {
public:
    /// The arrays are shared between copies and wrappings of an exception, not copied.
    using SharedStrings = std::shared_ptr<std::vector<std::string>>;
    using UserInfo = std::map<std::string, SharedStrings, std::less<>>;

    Exception(std::string name, std::optional<std::string> reason, UserInfo userInfo = {})
        : name_(std::move(name)),
          reason_(std::move(reason)),
          userInfo_(std::move(userInfo)),
          what_(reason_ ? name_ + ": " + *reason_ : name_) {}

    const std::string& name() const { return name_; }
    const std::optional<std::string>& reason() const { return reason_; }
    const UserInfo& userInfo() const { return userInfo_; }
    /// What `%@` prints: the reason, or the name when there is none.
    std::string description() const { return reason_ ? *reason_ : name_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    std::string name_;
    std::optional<std::string> reason_;
    UserInfo userInfo_;
    std::string what_;
};

}  // namespace quillmore::platform
