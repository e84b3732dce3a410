// Numbers and texts that tell one thing from every other. Any thread.
#pragma once

#include <cstdint>
#include <string>

namespace quillmore {

/// A new random UUID: 36 characters, upper-case hexadecimal.
std::string UUIDString();
/// The calling thread's number in the kernel.
std::uint32_t currentThreadId();

}  // namespace quillmore
