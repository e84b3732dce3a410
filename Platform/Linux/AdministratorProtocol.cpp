#include "Platform/Linux/AdministratorProtocol.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quillmore::platform::administrator {

namespace {

/// Two paths as long as the system allows, or a tool's whole command line.
constexpr std::size_t kLongestCommand = 32 * 1024;
constexpr std::size_t kStreams = 3;

union Control {
    cmsghdr alignment;
    char bytes[CMSG_SPACE(sizeof(ucred)) + CMSG_SPACE(kStreams * sizeof(int))];
};

std::string bytesOf(const std::vector<std::string>& words) {
    std::string bytes;
    for (const std::string& word : words) bytes.append(word.c_str(), word.size() + 1);
    return bytes;
}

std::vector<std::string> wordsOf(const std::string& bytes) {
    std::vector<std::string> words;
    for (std::size_t start = 0; start < bytes.size(); start += words.back().size() + 1)
        words.emplace_back(bytes.c_str() + start);
    return words;
}

bool sendWhole(int socket, const msghdr& message, std::size_t size) {
    ssize_t sent = 0;
    do {
        // Not waited for: neither side is to be held by one that does not read.
        sent = ::sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    } while (sent < 0 && errno == EINTR);
    return sent == static_cast<ssize_t>(size);
}

ssize_t receive(int socket, msghdr& message) {
    ssize_t size = 0;
    do {
        size = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    return size;
}

/// Owns the descriptors that came with a message, whatever becomes of it.
std::vector<FileDescriptor> takeDescriptors(msghdr& message) {
    std::vector<FileDescriptor> taken;
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < count; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part) + i * sizeof(int), sizeof descriptor);
            taken.emplace_back(descriptor);
        }
    }
    return taken;
}

pid_t senderOf(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_CREDENTIALS) continue;
        ucred credentials{};
        std::memcpy(&credentials, CMSG_DATA(part), sizeof credentials);
        return credentials.pid;
    }
    return 0;
}

}  // namespace

SocketPair makeSocketPair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return {};
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool sendCommand(int socket, const std::vector<std::string>& words,
                 const std::vector<int>& streams) {
    std::string bytes = bytesOf(words);
    if (bytes.empty() || bytes.size() > kLongestCommand ||
        (!streams.empty() && streams.size() != kStreams))
        return false;
    iovec text{bytes.data(), bytes.size()};
    Control control{};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    if (!streams.empty()) {
        message.msg_control = control.bytes;
        message.msg_controllen = CMSG_SPACE(kStreams * sizeof(int));
        cmsghdr* part = CMSG_FIRSTHDR(&message);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(kStreams * sizeof(int));
        std::memcpy(CMSG_DATA(part), streams.data(), kStreams * sizeof(int));
    }
    return sendWhole(socket, message, bytes.size());
}

bool sendAnswer(int socket, const Answer& answer) {
    Answer copy = answer;
    iovec text{&copy, sizeof copy};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    return sendWhole(socket, message, sizeof copy);
}

std::optional<Answer> receiveAnswer(int socket) {
    Answer answer;
    iovec text{&answer, sizeof answer};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    const bool isWhole = receive(socket, message) == static_cast<ssize_t>(sizeof answer) &&
                         (message.msg_flags & MSG_TRUNC) == 0;
    if (!isWhole || answer.kind < Answer::Kind::ready || answer.kind > Answer::Kind::signalled)
        return std::nullopt;
    return answer;
}

bool nameSenders(int socket) {
    const int on = 1;
    return ::setsockopt(socket, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) == 0;
}

std::optional<Command> receiveCommand(int socket, pid_t sender) {
    std::string bytes(kLongestCommand, '\0');
    iovec text{bytes.data(), bytes.size()};
    Control control{};
    msghdr message{};
    message.msg_iov = &text;
    message.msg_iovlen = 1;
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof control.bytes;
    const ssize_t size = receive(socket, message);
    if (size < 0) return std::nullopt;
    Command command;
    command.streams = takeDescriptors(message);
    const bool isWhole = (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0;
    bytes.resize(static_cast<std::size_t>(size));
    if (!isWhole || bytes.empty() || bytes.back() != '\0' || senderOf(message) != sender ||
        (!command.streams.empty() && command.streams.size() != kStreams))
        return std::nullopt;
    command.words = wordsOf(bytes);
    return command;
}

}  // namespace quillmore::platform::administrator
