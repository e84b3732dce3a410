// Plain text work on UTF-8 strings.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmore {

/// Every occurrence replaced, left to right; what was put in is not looked at again. An empty
/// `target` occurs nowhere.
std::string stringByReplacing(std::string_view text, std::string_view target,
                              std::string_view replacement);
/// The parts between the separators: always one more than there are separators.
std::vector<std::string_view> componentsSeparatedBy(std::string_view text, char separator);

}  // namespace quillmore
