// Between root and whoever ran the tool. A run acts as its caller from the start: the command line
// is read, the caller's files are opened and signatures are checked with the caller's rights. It
// becomes root once, when all of that is done, or gives root up for good.
#pragma once

#include <sys/types.h>

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// While one lives, and until `becomeRoot`, the effective user and group are the caller's.
class ActingAsCaller {
public:
    /// Fails (EX_OSERR) when the rights cannot be taken.
    explicit ActingAsCaller(const Context& context);
    ~ActingAsCaller();
    ActingAsCaller(const ActingAsCaller&) = delete;
    ActingAsCaller& operator=(const ActingAsCaller&) = delete;

private:
    uid_t user_;
    gid_t group_;
};

/// While one lives the process is root by its real identity, too: its caller can neither stop nor
/// kill it. For whatever others may have to wait for before `becomeRoot`.
class OutOfCallersReach {
public:
    OutOfCallersReach();
    ~OutOfCallersReach();
    OutOfCallersReach(const OutOfCallersReach&) = delete;
    OutOfCallersReach& operator=(const OutOfCallersReach&) = delete;

private:
    uid_t user_;
};

/// All of root's identities and none of the caller's, not even a group: from here on the caller
/// cannot signal the process, nor slow it down. Call when all input has been read. Fails
/// (EX_NOPERM) for a tool that has lost its set-user-ID bit.
void becomeRoot(const Context& context);
/// For good: afterwards the process cannot become root again, and that is checked.
void becomeCaller(const Context& context);

}  // namespace quillmore::updatetool
