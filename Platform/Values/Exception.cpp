#include "Platform/Values/Exception.h"

#include <utility>

namespace quillmore::platform {

Exception::Exception(std::string name, std::optional<std::string> reason, UserInfo userInfo)
    : name_(std::move(name)),
      reason_(std::move(reason)),
      userInfo_(std::move(userInfo)),
      what_(reason_ ? name_ + ": " + *reason_ : name_) {}

}  // namespace quillmore::platform
