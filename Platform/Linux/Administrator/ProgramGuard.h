// The first thing that the privileged program does. pkexec starts it: with root's identity, a safe
// environment and no descriptors but the standard ones. The rest of what it has comes from the
// user's launcher, and is put to known values here:
//
//   standard input    the launcher's socket; taken away and kept at another number, so that nothing
//                     reads or writes it by mistake. Anything but such a socket ends the program
//   other streams     /dev/null: what is run for the launcher gets streams of its own
//   descriptors       all others are closed, however high; later ones are close-on-exec
//   signals           nothing blocked; those that a terminal, a timer or an exceeded limit sends
//                     are ignored, and so is SIGTERM: a command is never cut half way
//   parent's end      no signal for it any more, which pkexec had asked for
//   timers, alarms    off
//   limits            no core file; none on file size and processor time
//   memory            nobody may trace the process or read its memory
//   environment       not read; tools get one that is made for them
//   umask             022; modes that matter are set explicitly
//   working folder    /
//   priority          ordinary, on any processor: others wait for this program
//
// The client is the parent process: pkexec and this program are one child of the launcher. Messages
// of any other process are refused.
#pragma once

#include <sys/types.h>

#include <optional>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform::administrator {

struct Client {
    FileDescriptor socket;
    pid_t process = 0;
};
/// All of the above. Nothing when the program was not started by a launcher, or cannot be made
/// safe.
std::optional<Client> makeProgramSafe();

}  // namespace quillmore::platform::administrator
