// The C library's messages for error numbers.
#pragma once

#include <cstddef>

namespace quillmore {

/// Fills the buffer; not zero when there is no message for the number or no room for it.
int posixMessage(int errorNumber, char* buffer, std::size_t size);

}  // namespace quillmore
