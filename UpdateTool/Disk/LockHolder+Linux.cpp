#ifdef __linux__

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <sstream>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/LockHolder.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

std::string startOfProcess(pid_t process) {
    constexpr int kFieldsBefore = 19;  // after the name, which may hold anything
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text{};
    const auto size = file ? readUpTo(file.get(), text.data(), text.size()) : std::nullopt;
    const std::string status(text.data(), size.value_or(0));
    const std::size_t name = status.rfind(')');
    if (name == std::string::npos) return "";
    std::istringstream fields(status.substr(name + 1));
    std::string field;
    for (int index = 0; index <= kFieldsBefore; ++index) fields >> field;
    return fields ? field : "";
}

void endHolder(const LockHolder& holder) {
    // Held first, then looked at: its number cannot pass to another process any more.
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, holder.process, 0U)));
    if (holder.started.empty() || startOfProcess(holder.process) != holder.started) return;
    if (process) {
        ::syscall(SYS_pidfd_send_signal, process.get(), SIGKILL, nullptr, 0U);
    } else {
        ::kill(holder.process, SIGKILL);  // a kernel before 5.3
    }
}

}  // namespace quillmore::updatetool

#endif
