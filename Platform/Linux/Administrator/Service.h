// The privileged program at work: it carries out the launcher's commands, each in a process of its
// own, until the launcher closes the socket or ends; then it lets the commands that run come to
// their end, and ends itself.
#pragma once

#include <map>

#include "Platform/Linux/Administrator/ProgramGuard.h"
#include "Platform/Linux/AdministratorProtocol.h"
#include "Platform/Processes/ProcessSpawner.h"

namespace quillmore::platform::administrator {

/// The table of commands. Each may be in anybody's hands who holds the socket: that is the
/// launcher, for which an administrator has answered the question.
///   remove  one absolute path. Held by descriptors, see Place.h
///   copy    two of them. The same
///   run     an absolute path and arguments, three streams. Any program: this is what the launcher
///           was authorised for; its path was in the launcher's hands all along
/// Gives the process, or the negative error number for which the command is refused.
pid_t startCommand(const Command& command, ProcessSpawner& spawner);

class Service {
public:
    /// `client` is held until the end.
    Service(Client client, ProcessSpawner& spawner);
    /// Returns when all is done. False: the socket could not be served.
    bool run();

private:
    void receive();
    void reap();
    void answer(Answer::Kind kind, std::int32_t command, std::int32_t value);

    Client client_;
    ProcessSpawner& spawner_;
    FileDescriptor ends_;  ///< Readable when a child has ended.
    std::int32_t received_ = 0;
    std::map<pid_t, std::int32_t> running_;
};

}  // namespace quillmore::platform::administrator
