// Double of Gestalt, the kernel's process table, Mach threads and the dynamic linker.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace quillmore::apple {

struct ProcessEntry {
    pid_t process = 0;
    pid_t parent = 0;
    uid_t effectiveUser = 0;
    std::uint32_t flags = 0;
};

struct KernelDouble {
    /// Selectors that answer.
    std::map<std::uint32_t, std::int32_t> selectors;
    std::vector<ProcessEntry> processes;
    /// As many fetches of the whole table as find that it grew since its size was asked for.
    int growths = 0;
    std::uint32_t threadPort = 0x1a03;
    std::string executablePath;
};

KernelDouble& kernelDouble();
void resetKernelDouble();

}  // namespace quillmore::apple
