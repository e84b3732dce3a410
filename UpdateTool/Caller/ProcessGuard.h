// The first thing that a privileged program does. Whoever starts it chooses its arguments,
// environment, open files, limits, signal settings, timers, umask and working folder; all of them
// are refused or put to known values here, before anything else is looked at:
//
//   argument count    0 is refused (EX_USAGE)
//   descriptors       0, 1, 2 are open (on /dev/null if need be), all others are closed, however
//                     high; whatever is opened later is close-on-exec
//   environment       replaced: PATH alone, with the system's folders. Read by nobody before
//                     (the loader has its own rules for set-user-ID programs)
//   locale            the "C" locale: never set from anything, no catalogue or converter is loaded
//   time zone         the system's: TZ is gone with the environment
//   signals           nothing blocked, SIGCHLD as usual; those that others can send half way, and
//                     the ones for exceeded limits, are ignored. One that comes before this line
//                     ends the program, which has done nothing yet
//   timers, alarms    off
//   limits            no core file; none on file size, processor time and memory; 8 MiB of stack,
//                     256 descriptors. What root may not lift and is too low ends the program
//                     (EX_OSERR), like a limit that keeps it from starting: before anything is
//                     changed
//   umask             077; every mode is set explicitly
//   working folder    /
//   capabilities      on Linux those that no command needs are gone, also from the bounding set
//   tracing, dumps    forbidden, and again after each change of the user
//   libcrypto         reads no configuration file and loads no provider
//   real user         noted, for the audit trail and for the rights of the next line
//   rights            the caller's from here on, saved for the one return to root (Caller.h); the
//                     change is checked
//   priority          ordinary again, on any processor, and so are the memory killer's preferences
//                     when it becomes root, and before it waits for the log: until then some
//                     systems let the caller lower it anew
//   system calls      once the log is open: no program is started, nothing mounted or traced, no
//                     socket made (Confinement.h)
//
// What comes from the system and stays: control groups, the
// session. A run may be stopped or killed through them, which the journal provides for.
#pragma once

#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

/// All but the last four lines. Ends the process with a status of sysexits.h when it cannot be
/// made safe.
void makeProcessSafe(int argumentCount);

/// The context of the program itself, for whoever runs it now.
Context programContext();

}  // namespace quillmore::updatetool
