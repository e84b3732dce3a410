// The user's Trash by the freedesktop rules: one in the home folder, one at the top of every other
// volume. An item goes to the Trash of its own volume by a rename; where that volume has none and
// can have none, it is copied to the home folder's. Keeps no state: safe on any thread.
#pragma once

#include <sys/types.h>

#include <string>

namespace quillmore::platform {

/// "$XDG_DATA_HOME/Trash", else "~/.local/share/Trash".
std::string homeTrashFolder(const std::string& homeFolder);

class LinuxTrash {
public:
    /// Host path of the home folder's Trash; it is made when it is first needed.
    explicit LinuxTrash(std::string homeTrash, uid_t user);

    /// Moves the item at an absolute host path to a Trash, a link itself; what is in one stays
    /// there. False when it could not be; then it is where it was, or (a copied one that could not
    /// be removed whole) its copy in the Trash is whole.
    bool recycle(const std::string& path) const;

private:
    std::string homeTrash_;
    uid_t user_;
};

}  // namespace quillmore::platform
