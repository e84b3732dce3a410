#include "UpdateTool/Disk/TreeWriter.h"

#include <unistd.h>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

[[noreturn]] void failToWrite(const std::string& path) {
    failWithSystemError(EX_CANTCREAT, "cannot write " + quoted(path));
}

/// Folder by folder, never through a link of the archive's own.
FileDescriptor openBelow(int folder, const std::string& path, const std::string& entryPath) {
    FileDescriptor opened = openFolder(folder, ".");
    for (std::size_t start = 0; opened && start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        opened = openFolder(opened.get(), path.substr(start, end - start));
        start = end + 1;
    }
    if (!opened) failToWrite(entryPath);
    return opened;
}

}  // namespace

void TreeWriter::take(const ArchiveEntry& entry, const ReadBlock& read) {
    const std::size_t slash = entry.path.rfind('/');
    const std::string above = slash == std::string::npos ? "" : entry.path.substr(0, slash);
    const std::string name = entry.path.substr(slash == std::string::npos ? 0 : slash + 1);
    const FileDescriptor parent = openBelow(folder_, above, entry.path);
    switch (entry.kind) {
        case ArchiveEntry::Kind::folder:
            return makeFolder(parent.get(), name, entry.path);
        case ArchiveEntry::Kind::link:
            return makeLink(parent.get(), name, entry);
        case ArchiveEntry::Kind::file:
            return makeFile(parent.get(), name, entry, read);
    }
}

void TreeWriter::makeFolder(int parent, const std::string& name, const std::string& path) {
    if (::mkdirat(parent, name.c_str(), 0700) != 0) failToWrite(path);
    const FileDescriptor made = openFolder(parent, name);
    if (!made || ::fchown(made.get(), context_.owner, context_.group) != 0 ||
        ::fchmod(made.get(), 0755) != 0)
        failToWrite(path);
    folders_.push_back(path);
}

void TreeWriter::makeLink(int parent, const std::string& name, const ArchiveEntry& entry) const {
    if (::symlinkat(entry.linkTarget.c_str(), parent, name.c_str()) != 0 ||
        ::fchownat(parent, name.c_str(), context_.owner, context_.group, AT_SYMLINK_NOFOLLOW) != 0)
        failToWrite(entry.path);
}

void TreeWriter::makeFile(int parent, const std::string& name, const ArchiveEntry& entry,
                          const ReadBlock& read) const {
    const FileDescriptor file(::openat(parent, name.c_str(), kNewFileFlags, 0600));
    if (!file) failToWrite(entry.path);
    std::uint64_t written = 0;
    for (std::string block = read(); !block.empty(); block = read()) {
        writeAll(file.get(), block.data(), block.size(), entry.path);
        written += block.size();
    }
    if (written != entry.size)
        fail(EX_DATAERR, "the archive's entry " + quoted(entry.path) + " is damaged");
    finishFile(context_, file.get(), modeOf(entry), entry.path);
}

mode_t TreeWriter::modeOf(const ArchiveEntry& entry) const {
    constexpr mode_t kExecutable = 0755;
    if (target_.executables == Executables::none) return target_.fileMode;
    if (entry.path.find("/Contents/MacOS/") != std::string::npos) return kExecutable;
    return target_.executables == Executables::asPacked && entry.executable ? kExecutable
                                                                            : target_.fileMode;
}

void TreeWriter::finish() const {
    for (auto path = folders_.rbegin(); path != folders_.rend(); ++path)
        if (::fsync(openBelow(folder_, *path, *path).get()) != 0) failToWrite(*path);
}

}  // namespace quillmore::updatetool
