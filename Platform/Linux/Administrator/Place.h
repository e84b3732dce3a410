// A path of a command, walked from the root one component at a time and held by descriptor. The
// folders of a path that belong to a user may change under the walk, as often as that user likes:
// from the first of them on it goes with that user's identity, and comes nowhere that the user
// could not come.
#pragma once

#include <sys/types.h>

#include <string>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform::administrator {

struct Place {
    FileDescriptor folder;  ///< Good for "at" calls only.
    std::string name;       ///< Of the item in it, which may be a link, or missing.
    uid_t actor = 0;        ///< In whose name to act in the folder.
    /// The way led through a link of that user: it may be anywhere, nothing there is to be done in
    /// anybody else's name.
    bool reachedByUsersLink = false;
};

/// 0 or an error number. EINVAL: not absolute, or with empty, "." or ".." components. ELOOP: a
/// link in a folder of root's in which others may put links. EPERM: folders of two users.
int openPlace(const std::string& path, Place& place);

}  // namespace quillmore::platform::administrator
