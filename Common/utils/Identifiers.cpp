#include "Common/utils/Identifiers.h"

#include <uuid/uuid.h>

#include <array>

#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore {

std::string UUIDString() {
    uuid_t identifier;
    ::uuid_generate_random(identifier);
    std::array<char, 37> text{};
    ::uuid_unparse_upper(identifier, text.data());
    return text.data();
}

std::uint32_t currentThreadId() {
    return platform::services().systemInformation->currentThreadPort();
}

}  // namespace quillmore
