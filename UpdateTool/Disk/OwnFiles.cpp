#include "UpdateTool/Disk/OwnFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {
constexpr const char* kUnfinishedName = ".book.new";
constexpr off_t kMaximumSize = 1 << 20;
}  // namespace

std::optional<std::string> readOwnFile(const Context& context, int folder,
                                       const std::string& name) {
    const platform::FileDescriptor file = openEntry(folder, name, O_RDONLY | O_NONBLOCK);
    if (!file && errno == ENOENT) return std::nullopt;
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        failToOpen(folder, name, std::string(kProductFolder) + "/" + name);
    if (!S_ISREG(status.st_mode) || status.st_uid != context.owner || status.st_nlink != 1 ||
        (status.st_mode & 07777) != 0600 || status.st_size > kMaximumSize)
        fail(EX_OSFILE, quoted(name) + " of the product folder is not a file that only root can " +
                            "have written: remove it");
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    if (readUpTo(file.get(), text.data(), text.size()) != text.size())
        failWithSystemError(EX_IOERR, "cannot read " + quoted(name) + " of the product folder");
    return text;
}

void writeOwnFile(const Context& context, int folder, const std::string& name,
                  const std::string& text) {
    removeUnfinishedOwnFiles(context, folder);
    try {
        writeFile(context, folder, kUnfinishedName, Bytes(text.begin(), text.end()), 0600);
        if (::renameat(folder, kUnfinishedName, folder, name.c_str()) != 0 || ::fsync(folder) != 0)
            failWithSystemError(EX_CANTCREAT,
                                "cannot write " + quoted(name) + " of the product folder");
    } catch (...) {
        removeUnfinishedOwnFiles(context, folder);
        throw;
    }
}

void removeOwnFile(int folder, const std::string& name) {
    if (::unlinkat(folder, name.c_str(), 0) != 0) {
        if (errno == ENOENT) return;
        failWithSystemError(EX_IOERR, "cannot remove " + quoted(name) + " of the product folder");
    }
    if (::fsync(folder) != 0)
        failWithSystemError(EX_IOERR, "cannot write the product folder to disk");
}

void removeUnfinishedOwnFiles(const Context& context, int folder) {
    removeTree(context, folder, kUnfinishedName);
}

}  // namespace quillmore::updatetool
