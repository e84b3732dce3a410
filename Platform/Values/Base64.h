// Data of property lists as text. Free functions, any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Value.h"

namespace quillmore::platform {

std::string base64FromData(const Data& data);
/// White space may stand anywhere and the '=' at the end may be missing; nothing for any other
/// character, or a length that no data has.
std::optional<Data> dataFromBase64(std::string_view text);

}  // namespace quillmore::platform
