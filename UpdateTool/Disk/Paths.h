// Paths as they arrive on the command line, and folders and files opened by walking from the root,
// one component at a time, never through a link, and held by descriptor from then on. A refusal
// names the component and what to do about it.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Ground/Context.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

/// The components of an absolute path. Fails (EX_USAGE) for relative paths, empty components, "."
/// and "..", control characters and components over 255 bytes.
std::vector<std::string> componentsOf(const std::string& path);
/// The folder part and the last component of such a path; the root itself has none and fails.
struct SplitPath {
    std::string folder;
    std::string name;
};
SplitPath splitPath(const std::string& path);

/// Fails (EX_USAGE) unless the name is letters, digits, ".", "_", "-" and blank, and begins with a
/// letter or digit: such a name is no path, no option and not hidden.
void requirePlainName(const std::string& name);
/// The same without blanks.
void requireToolName(const std::string& name);
/// Fails (EX_USAGE) for the names that have commands of their own, capitals or not.
void requireUnreservedName(const std::string& name);
/// In small letters: names that are one afterwards are one on some volumes.
std::string folded(std::string name);

/// A folder in a folder ("." is that one again), never through a link nor on another volume: how
/// every folder is opened that is neither the caller's nor on the way to a compiled-in one. Empty
/// when it cannot be, with the error number set.
platform::FileDescriptor openFolder(int parent, const std::string& name);
/// Whether nobody but the owner, and who may become it anyway, can change what has this status.
bool isTrusted(const Context& context, const struct stat& status);
/// Opens a compiled-in folder whose contents are believed: every component must be a folder of the
/// owner's that nobody else may write. Fails with EX_OSFILE otherwise.
platform::FileDescriptor openTrustedFolder(const Context& context, const std::string& path);
/// The same one step further, in a folder that was opened so; what is mounted there is refused.
platform::FileDescriptor openTrustedFolderIn(const Context& context, int parent,
                                             const std::string& name, const std::string& path);
/// Thrown when another run took away a folder in which one was about to be made.
struct FolderVanished final : Failure {
    FolderVanished() : Failure(EX_CANTCREAT, "a folder was taken away") {}
};
/// The same; components that are missing are made, 0755, and their paths appended to `made`.
platform::FileDescriptor openOrMakeTrustedFolder(const Context& context, const std::string& path,
                                                 std::vector<std::string>& made);
/// How many leading components of such a folder are there already.
std::size_t countOfPresentFolders(const Context& context, const std::string& path);
/// Takes folders away again, the last one first, as long as they are empty.
void removeEmptyFolders(const Context& context, const std::vector<std::string>& made);

/// Opens a folder on the way to something of the caller's, with the rights that the process has at
/// the moment; nothing is believed of it but that no link led there. It may be good for openat
/// only. Fails with EX_NOINPUT. `path` is the whole one, for the message.
platform::FileDescriptor openUntrustedFolder(const Context& context, const std::string& folder,
                                             const std::string& path);
/// "cannot open PATH: ..." (EX_NOINPUT) for an entry that was not to be a link, and may be one.
[[noreturn]] void failToOpen(int folder, const std::string& name, const std::string& path);

}  // namespace quillmore::updatetool
