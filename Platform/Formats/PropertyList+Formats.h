// The two forms of property lists, and the bounds they share. Internal to PropertyList.
#pragma once

#include <cstddef>
#include <string_view>

#include "Platform/Values/Result.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

/// Values in one list, keys included, counted as often as they occur. Holds what a small file can
/// make of itself in memory.
inline constexpr std::size_t kMaximumPropertyListValues = 1'000'000;

/// UTF-8, or UTF-16 with a byte order mark. Only the five entities of XML itself and numeric ones
/// are known: nothing outside the file is ever read.
Result<Value> parseXmlPropertyList(std::string_view bytes);
Result<Value> parseBinaryPropertyList(std::string_view bytes);

}  // namespace quillmore::platform
