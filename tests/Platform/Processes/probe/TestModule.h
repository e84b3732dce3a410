// What passes the border between the tests and their module.
#pragma once

#include <cstdint>

namespace quillmore::tests {

struct TestFunctions {
    std::uint32_t version;
    int timesAsked;  ///< Calls of the entry point.
};

inline constexpr std::uint32_t kTestVersion = 7;
inline constexpr const char* kTestEntryPoint = "quillmoreTestModule";

}  // namespace quillmore::tests
