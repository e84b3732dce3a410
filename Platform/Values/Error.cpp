#include "Platform/Values/Error.h"

#include <system_error>

namespace quillmore::platform {

Error Error::posix(int errorNumber) {
    return Error(kPosixErrorDomain, errorNumber,
                 {{kLocalizedDescriptionKey, std::generic_category().message(errorNumber)}});
}

Error Error::file(std::string description) {
    return Error(kFileErrorDomain, 0, {{kLocalizedDescriptionKey, std::move(description)}});
}

std::string Error::localizedDescription() const {
    if (auto text = stringForKey(userInfo_, kLocalizedDescriptionKey)) return *std::move(text);
    return "The operation couldn't be completed. (" + domain_ + " error " + std::to_string(code_) +
           ".)";
}

std::optional<std::string> Error::localizedFailureReason() const {
    return stringForKey(userInfo_, kLocalizedFailureReasonKey);
}

std::string Error::description() const {
    return "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" +
           localizedDescription() + "\"";
}

}  // namespace quillmore::platform
