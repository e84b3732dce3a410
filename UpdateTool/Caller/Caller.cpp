#include "UpdateTool/Caller/Caller.h"

#include <grp.h>
#include <unistd.h>

#include <cstdlib>

#include "UpdateTool/Caller/Confinement.h"
#include "UpdateTool/Caller/OwnProgram.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

ActingAsCaller::ActingAsCaller(const Context& context) : user_(::geteuid()), group_(::getegid()) {
    if (context.callerUser == user_ && context.callerGroup == group_) return;
    // The group first: the right to change it goes with the user.
    if (::setegid(context.callerGroup) != 0 || ::seteuid(context.callerUser) != 0 ||
        ::geteuid() != context.callerUser || ::getegid() != context.callerGroup)
        failWithSystemError(EX_OSERR, "cannot take the rights of the calling user");
    makeUndumpable();
}

ActingAsCaller::~ActingAsCaller() {
    if (::geteuid() == user_ && ::getegid() == group_) return;
    // Refused to a process that gave root up for good; fewer rights do no harm.
    if (::seteuid(user_) != 0 || ::setegid(group_) != 0) return;
}

OutOfCallersReach::OutOfCallersReach() : user_(::getuid()) {
    if (user_ != 0 && ::geteuid() == 0 && ::setreuid(0, static_cast<uid_t>(-1)) != 0)
        failWithSystemError(EX_OSERR, "cannot leave the reach of the calling user");
    if (::getuid() == 0 && user_ != 0) takeOrdinaryPriority();
}

OutOfCallersReach::~OutOfCallersReach() {
    if (::getuid() == user_) return;
    if (::setreuid(user_, static_cast<uid_t>(-1)) != 0 || ::getuid() != user_) std::abort();
}

void becomeRoot(const Context& context) {
    if (context.owner != 0) return;  // not the program: a test that has no root
    if (::seteuid(0) != 0)
        fail(
            EX_NOPERM,
            "this program has no set-user-ID bit, or it lies on a volume that ignores it; have the "
            "launcher repair it");
    if (::setgroups(0, nullptr) != 0 || ::setgid(0) != 0 || ::setuid(0) != 0 || ::getuid() != 0 ||
        ::geteuid() != 0 || ::getgid() != 0 || ::getegid() != 0)
        failWithSystemError(EX_OSERR, "cannot leave the rights of the calling user");
    // Not earlier: some systems let the caller lower it as long as the process is theirs, too.
    takeOrdinaryPriority();
    makeUndumpable();
}

void becomeCaller(const Context& context) {
    // From root's effective identity, or the saved one would stay behind. Refused when there is no
    // root to give up.
    const bool givesUp = ::seteuid(0) == 0 && context.callerUser != 0;
    if (givesUp && (::setgid(context.callerGroup) != 0 || ::setuid(context.callerUser) != 0))
        failWithSystemError(EX_OSERR, "cannot take the rights of the calling user");
    if (::getuid() != context.callerUser || ::geteuid() != context.callerUser ||
        (givesUp && (::getgid() != context.callerGroup || ::getegid() != context.callerGroup)))
        fail(EX_OSERR, "the rights are not those of the calling user");
    if (context.callerUser != 0 && (::seteuid(0) == 0 || ::setuid(0) == 0)) std::abort();
    makeUndumpable();
}

}  // namespace quillmore::updatetool
