#include "UpdateTool/Disk/FileContents.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

std::optional<std::size_t> readUpTo(int file, void* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(file, static_cast<char*>(bytes) + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void writeAll(int file, const void* bytes, std::size_t size, const std::string& path) {
    errno = platform::writeAll(file, {static_cast<const char*>(bytes), size});
    if (errno != 0) failWithSystemError(EX_CANTCREAT, "cannot write " + quoted(path));
}

void finishFile(const Context& context, int file, mode_t mode, const std::string& path) {
    // The owner first: changing it takes set-user-ID bits away.
    if (::fchown(file, context.owner, context.group) != 0 || ::fchmod(file, mode) != 0 ||
        ::fsync(file) != 0)
        failWithSystemError(EX_CANTCREAT, "cannot finish " + quoted(path));
}

void writeFile(const Context& context, int folder, const std::string& name, const Bytes& bytes,
               mode_t mode) {
    const FileDescriptor file(::openat(folder, name.c_str(), kNewFileFlags, 0600));
    if (!file) failWithSystemError(EX_CANTCREAT, "cannot write " + quoted(name));
    writeAll(file.get(), bytes.data(), bytes.size(), name);
    finishFile(context, file.get(), mode, name);
}

}  // namespace quillmore::updatetool
