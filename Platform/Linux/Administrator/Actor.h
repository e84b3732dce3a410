// In whose name the program acts on the disk. Only one thread, and never two at a time.
#pragma once

#include <sys/types.h>

namespace quillmore::platform::administrator {

/// While it lives the process has the user's effective identity, with all groups of the account;
/// for root, and in a process that is not root's, nothing changes. Ends the process when the system
/// refuses: it must go on neither as the one nor as the other.
class ActingAs {
public:
    explicit ActingAs(uid_t user);
    ~ActingAs();
    ActingAs(const ActingAs&) = delete;
    ActingAs& operator=(const ActingAs&) = delete;

private:
    bool changed_;
};

/// Who acts until another user's folder is met: root, or the user of a process that is not root's.
uid_t ownActor();

}  // namespace quillmore::platform::administrator
