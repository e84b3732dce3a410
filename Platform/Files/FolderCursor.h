// A place in a folder tree, for walks that no symbolic link can lead astray and no depth can
// starve: a bounded number of descriptors is open however deep the walk is. Going up past them
// takes ".." and checks that it is the folder which the walk came from. For one thread.
#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Values/Error.h"

namespace quillmore::platform {

/// Every function that can fail gives 0 or an error number.
class FolderCursor {
public:
    /// For the "at" calls: the folder the cursor is in. Before the first `enter` names are paths.
    int descriptor() const;

    /// A symbolic link is not entered (ENOTDIR or ELOOP).
    int enter(const std::string& name);
    /// Back to the folder above; ESTALE when the tree was moved meanwhile. `left`, when given,
    /// receives the folder that was left, whatever the outcome.
    int leave(FileDescriptor* left = nullptr);

    /// Of the folder the cursor is in.
    int status(struct stat& status) const;
    /// Names in the folder, in byte order, without "." and ".."; once for each `enter`.
    int names(std::vector<std::string>& names) const;
    /// Path below the folder entered first of an entry which lies `depth` folders deep, at most as
    /// deep as the cursor is; empty for that first folder itself (depth 0).
    std::string innerPath(const std::string& name, std::size_t depth) const;

private:
    struct Frame {
        std::string name;
        FileDescriptor folder;  ///< Closed when the walk is far below.
        dev_t device;
        ino_t inode;
    };
    std::vector<Frame> frames_;
};

/// The error number's error; its description also names the entry when it lies inside the tree.
Error errorInTree(int errorNumber, const std::string& innerPath);

/// Names in an open folder, in byte order, without "." and ".."; takes the descriptor.
int namesInFolder(FileDescriptor folder, std::vector<std::string>& names);

}  // namespace quillmore::platform
