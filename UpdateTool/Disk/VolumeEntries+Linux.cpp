// In one call where the kernel has it. Where it has not (before 5.6, or in a container that forbids
// it) the numbers of the mounts are compared, by a descriptor that asks the volume nothing.
#ifdef __linux__

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>

#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/VolumeEntries.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr int kFlagsOfAll = O_NOFOLLOW | O_CLOEXEC;

std::optional<std::string> mountOf(int descriptor) {
    constexpr std::string_view kMark = "mnt_id:\t";
    const std::string path = "/proc/self/fdinfo/" + std::to_string(descriptor);
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 1024> text{};
    const auto size = file ? readUpTo(file.get(), text.data(), text.size()) : std::nullopt;
    const std::string_view fields(text.data(), size.value_or(0));
    const std::size_t at = fields.find(kMark);
    if (at == std::string_view::npos) return std::nullopt;
    const std::size_t start = at + kMark.size();
    return std::string(fields.substr(start, fields.find('\n', start) - start));
}

FileDescriptor openComparingMounts(int folder, const std::string& name, int flags) {
    FileDescriptor entry(::openat(folder, name.c_str(), O_PATH | kFlagsOfAll));
    if (!entry) return entry;
    const auto mount = mountOf(folder);
    if (!mount || mountOf(entry.get()) != mount) {
        entry.reset();
        errno = EXDEV;
        return entry;
    }
    if ((flags & O_PATH) != 0 && (flags & O_DIRECTORY) == 0) return entry;
    // Not by its name again: something else may have been mounted there.
    const std::string held = "/proc/self/fd/" + std::to_string(entry.get());
    return FileDescriptor(::open(held.c_str(), (flags & ~O_NOFOLLOW) | O_CLOEXEC));
}

}  // namespace

FileDescriptor openEntry(int folder, const std::string& name, int flags) {
    open_how how{};
    how.flags = static_cast<std::uint64_t>(flags | kFlagsOfAll);
    how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS | RESOLVE_BENEATH;
    const long opened = ::syscall(SYS_openat2, folder, name.c_str(), &how, sizeof how);
    if (opened >= 0 || (errno != ENOSYS && errno != EPERM))
        return FileDescriptor(static_cast<int>(opened));
    return openComparingMounts(folder, name, flags);
}

bool examineEntry(int folder, const std::string& name, struct stat& status) {
    const FileDescriptor entry = openEntry(folder, name, O_PATH);
    return entry && ::fstat(entry.get(), &status) == 0;
}

}  // namespace quillmore::updatetool

#endif
