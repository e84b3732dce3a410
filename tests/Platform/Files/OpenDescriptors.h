// Counts this process's open descriptors, to find leaks.
#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

namespace quillmore::tests {

/// Only where the system shows its processes as files.
inline bool canCountOpenDescriptors() {
    return std::filesystem::exists("/proc/self/fd");
}

inline std::size_t openDescriptorCount() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

}  // namespace quillmore::tests
