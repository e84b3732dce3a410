#include "UpdateTool/Disk/Paths.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "Platform/Values/Text.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr std::size_t kMaximumNameLength = 255;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
#ifdef O_PATH
// Folders that the caller may pass through but not list.
constexpr int kUntrustedFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
#else
constexpr int kUntrustedFolderFlags = kFolderFlags;
#endif

void requireComponent(const std::string& component, const std::string& path) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (component.empty() || component == "." || component == ".." ||
        component.size() > kMaximumNameLength ||
        std::any_of(component.begin(), component.end(), isControl))
        fail(EX_USAGE, "the path " + quoted(path) + " is not a plain absolute path");
}

/// After an open of the folder's entry failed: says so when it is a link, else the text and the
/// system's words for it.
[[noreturn]] void failToOpenEntry(int folder, const std::string& name, const std::string& path,
                                  int exitStatus, const std::string& text) {
    const int error = errno;
    struct stat status {};
    if (error == EXDEV) fail(exitStatus, quoted(path) + " is a mount point: unmount it");
    if (examineEntry(folder, name, status) && S_ISLNK(status.st_mode))
        fail(exitStatus,
             quoted(path) + " is a link: put what it leads to in its place, or name it");
    errno = error;
    failWithSystemError(exitStatus, text);
}

bool othersMayWrite(const Context& context, const struct stat& status) {
    const bool trustedGroup =
        std::count(context.trustedGroups.begin(), context.trustedGroups.end(), status.st_gid) != 0;
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !trustedGroup);
}

void requireTrusted(const Context& context, const FileDescriptor& folder, const std::string& path) {
    struct stat status {};
    if (::fstat(folder.get(), &status) != 0)
        failWithSystemError(EX_OSFILE, "cannot examine the folder " + quoted(path));
    if (status.st_uid != context.owner)
        fail(EX_OSFILE, "the folder " + quoted(path) +
                            " does not belong to root: give it back with chown root");
    if (othersMayWrite(context, status))
        fail(EX_OSFILE, "the folder " + quoted(path) +
                            " may be written by others than root: forbid it with chmod go-w");
}

/// Its path goes to `allMade` unless another run has just made it.
FileDescriptor makeFolder(const Context& context, const FileDescriptor& parent,
                          const std::string& name, const std::string& path,
                          std::vector<std::string>& allMade) {
    // Beforehand: once the folder is there nothing may fail that would leave it behind.
    std::string madePath = path;
    allMade.reserve(allMade.size() + 1);
    const bool isNew = ::mkdirat(parent.get(), name.c_str(), 0700) == 0;
    if (!isNew && errno == ENOENT) throw FolderVanished();
    if (!isNew && errno != EEXIST)
        failWithSystemError(EX_CANTCREAT, "cannot make the folder " + quoted(path));
    FileDescriptor made = openFolder(parent.get(), name);
    if (!made && !isNew && errno == ENOENT) throw FolderVanished();
    if (!made || ::fchown(made.get(), context.owner, context.group) != 0 ||
        ::fchmod(made.get(), 0755) != 0 || ::fsync(parent.get()) != 0) {
        const int error = errno;
        if (isNew) ::unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR);
        errno = error;
        failWithSystemError(EX_CANTCREAT, "cannot make the folder " + quoted(path));
    }
    if (isNew) allMade.push_back(std::move(madePath));
    return made;
}

FileDescriptor openRoot(const Context& context, int flags) {
    const std::string root = context.root.empty() ? "/" : context.root;
    FileDescriptor folder(::open(root.c_str(), flags & ~O_NOFOLLOW));
    if (!folder) failWithSystemError(EX_OSFILE, "cannot open the root folder");
    return folder;
}

/// Walks as far as it can; false from `missing` ends the walk at the first component that is not
/// there.
template <typename WhenMissing>
FileDescriptor walk(const Context& context, const std::string& path, WhenMissing missing) {
    FileDescriptor folder = openRoot(context, kFolderFlags);
    requireTrusted(context, folder, "/");
    std::string pathSoFar;
    for (const std::string& name : componentsOf(path)) {
        pathSoFar += "/" + name;
        // Mounted there only by root: nobody else could change any folder on the way.
        FileDescriptor next(::openat(folder.get(), name.c_str(), kFolderFlags));
        if (!next && errno == ENOENT) {
            if (!missing(folder, name, pathSoFar, next)) return {};
        } else if (!next) {
            failToOpenEntry(folder.get(), name, pathSoFar, EX_OSFILE,
                            "cannot open the folder " + quoted(pathSoFar));
        }
        requireTrusted(context, next, pathSoFar);
        folder = std::move(next);
    }
    return folder;
}

}  // namespace

std::vector<std::string> componentsOf(const std::string& path) {
    if (path.empty() || path.front() != '/')
        fail(EX_USAGE, "the path " + quoted(path) + " is not a plain absolute path");
    std::vector<std::string> components;
    for (std::size_t start = 1; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        components.push_back(path.substr(start, end - start));
        requireComponent(components.back(), path);
        start = end + 1;
    }
    return components;
}

SplitPath splitPath(const std::string& path) {
    const std::vector<std::string> components = componentsOf(path);
    return {path.substr(0, path.size() - components.back().size() - 1), components.back()};
}

void requirePlainName(const std::string& name) {
    const auto isAlphanumeric = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    const auto isAllowed = [&](char c) {
        return isAlphanumeric(c) || std::string_view("._- ").find(c) != std::string_view::npos;
    };
    if (name.empty() || name.size() > kMaximumNameLength || !isAlphanumeric(name.front()) ||
        !std::all_of(name.begin(), name.end(), isAllowed))
        fail(EX_USAGE, "the name " + quoted(name) + " is not allowed");
}

void requireToolName(const std::string& name) {
    requirePlainName(name);
    if (name.find(' ') != std::string::npos)
        fail(EX_USAGE, "the name " + quoted(name) + " is not allowed");
}

void requireUnreservedName(const std::string& name) {
    for (const char* reserved : {kUpdateToolName, kIntelFixesName})
        if (folded(name) == folded(reserved))
            fail(EX_USAGE, quoted(name) + " has a command of its own");
}

std::string folded(std::string name) {
    return platform::lowerCase(name);
}

FileDescriptor openFolder(int parent, const std::string& name) {
    return openEntry(parent, name, kFolderFlags);
}

bool isTrusted(const Context& context, const struct stat& status) {
    return status.st_uid == context.owner && !othersMayWrite(context, status);
}

FileDescriptor openTrustedFolder(const Context& context, const std::string& path) {
    return walk(context, path,
                [](const FileDescriptor&, const std::string&, const std::string& missing,
                   const FileDescriptor&) -> bool {
                    failWithSystemError(EX_OSFILE, "cannot open the folder " + quoted(missing));
                });
}

FileDescriptor openTrustedFolderIn(const Context& context, int parent, const std::string& name,
                                   const std::string& path) {
    FileDescriptor folder = openFolder(parent, name);
    if (!folder)
        failToOpenEntry(parent, name, path, EX_OSFILE, "cannot open the folder " + quoted(path));
    requireTrusted(context, folder, path);
    return folder;
}

FileDescriptor openOrMakeTrustedFolder(const Context& context, const std::string& path,
                                       std::vector<std::string>& made) {
    return walk(context, path,
                [&](const FileDescriptor& parent, const std::string& name,
                    const std::string& missing, FileDescriptor& next) {
                    next = makeFolder(context, parent, name, missing, made);
                    return true;
                });
}

std::size_t countOfPresentFolders(const Context& context, const std::string& path) {
    std::size_t depth = componentsOf(path).size();
    walk(context, path,
         [&](const FileDescriptor&, const std::string&, const std::string& missing,
             const FileDescriptor&) {
             depth = componentsOf(missing).size() - 1;
             return false;
         });
    return depth;
}

void removeEmptyFolders(const Context& context, const std::vector<std::string>& made) {
    for (auto path = made.rbegin(); path != made.rend(); ++path) {
        const SplitPath split = splitPath(*path);
        const FileDescriptor parent = split.folder.empty()
                                          ? openRoot(context, kFolderFlags)
                                          : openTrustedFolder(context, split.folder);
        if (::unlinkat(parent.get(), split.name.c_str(), AT_REMOVEDIR) != 0) return;
        ::fsync(parent.get());
    }
}

FileDescriptor openUntrustedFolder(const Context& context, const std::string& folder,
                                   const std::string& path) {
    FileDescriptor opened = openRoot(context, kUntrustedFolderFlags);
    if (folder.empty()) return opened;
    std::string pathSoFar;
    for (const std::string& name : componentsOf(folder)) {
        pathSoFar += "/" + name;
        FileDescriptor next(::openat(opened.get(), name.c_str(), kUntrustedFolderFlags));
        if (!next)
            failToOpenEntry(opened.get(), name, pathSoFar, EX_NOINPUT,
                            "cannot open " + quoted(path));
        opened = std::move(next);
    }
    return opened;
}

void failToOpen(int folder, const std::string& name, const std::string& path) {
    failToOpenEntry(folder, name, path, EX_NOINPUT, "cannot open " + quoted(path));
}

}  // namespace quillmore::updatetool
