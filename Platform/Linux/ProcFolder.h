// What the kernel's process folder says of processes. Reads afresh on every call and keeps nothing:
// safe on any thread. A process that ends meanwhile answers nothing.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillmore::platform {

class ProcFolder {
public:
    /// A test gives a folder of its own.
    explicit ProcFolder(std::string folder = "/proc") : folder_(std::move(folder)) {}

    /// Numbers of all processes, in no order.
    std::vector<pid_t> processes() const;
    /// The program file, without the kernel's " (deleted)". Nothing for kernel threads, for ended
    /// processes and for those that this user may not look into.
    std::optional<std::string> executable(pid_t process) const;
    /// In clock ticks since the machine started.
    std::optional<std::uint64_t> startTime(pid_t process) const;
    std::optional<uid_t> realUser(pid_t process) const;
    /// The program's name, cut to 15 bytes; of an ended child too, until it is waited for.
    std::optional<std::string> commandName(pid_t process) const;
    /// The same, whole: of a longer one the kernel's cut is made up from the program file and from
    /// the first words of the command line, which may be a script's. A process that calls itself
    /// something else has its program file's name.
    std::optional<std::string> wholeName(pid_t process) const;
    /// The process that traces the calling one, 0 when none does.
    std::optional<pid_t> ownTracer() const;

private:
    std::optional<std::string> read(const std::string& process, const char* file) const;
    std::optional<std::string> wordWithName(pid_t process, const std::string& name) const;

    std::string folder_;
};

}  // namespace quillmore::platform
