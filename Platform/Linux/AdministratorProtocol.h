// What the launcher and its privileged program (Administrator/) say to each other, over two
// connected sockets that keep the borders of messages. The launcher sends commands, the program
// answers; both count the commands from 1 on. Nothing here blocks but the receiving functions.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform::administrator {

/// "remove" PATH: the item and all in it. A status other than 0: not all of it went.
inline constexpr const char* kRemove = "remove";
/// "copy" PATH NEW-PATH: the whole tree, or nothing and a status other than 0.
inline constexpr const char* kCopy = "copy";
/// "run" PATH ARGUMENT...: a program, with the three standard streams that come with the message.
inline constexpr const char* kRun = "run";

struct Command {
    std::vector<std::string> words;
    std::vector<FileDescriptor> streams;  ///< None, or three.
};

struct Answer {
    enum class Kind : std::int32_t { ready = 1, started, refused, exited, signalled };
    Kind kind = Kind::ready;
    std::int32_t command = 0;  ///< Its number; 0 for `ready`.
    std::int32_t value = 0;    ///< The protocol's version, an error number, a status or a signal.
};
/// Both programs come in one bundle, which a user may have put together from two.
inline constexpr std::int32_t kProtocolVersion = 1;

struct SocketPair {
    FileDescriptor launchers;
    FileDescriptor programs;
};
/// Close-on-exec. Both empty when none can be had.
SocketPair makeSocketPair();

/// `streams`: three descriptors, or none. False when it is too long or nobody is there to read it.
bool sendCommand(int socket, const std::vector<std::string>& words,
                 const std::vector<int>& streams = {});
bool sendAnswer(int socket, const Answer& answer);
/// Nothing at the end of the other side, and for what is no answer.
std::optional<Answer> receiveAnswer(int socket);

/// To be called once before receiveCommand: from then on messages say who sent them.
bool nameSenders(int socket);
/// Nothing at the end of the other side. Anything but a whole message of `sender` is taken for its
/// end too: whoever sends that is not to be trusted with more. Descriptors that came with it are
/// closed.
std::optional<Command> receiveCommand(int socket, pid_t sender);

}  // namespace quillmore::platform::administrator
