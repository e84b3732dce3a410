#include "Platform/Linux/Administrator/Service.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>

#include "Platform/Linux/Administrator/TreeCopy.h"
#include "Platform/Linux/Administrator/TreeRemoval.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform::administrator {

namespace {

int removePath(const std::vector<std::string>& words) {
    Place place;
    const int error = openPlace(words[1], place);
    return error != 0 ? error : removeTree(place);
}

/// In one more process: when that is killed, by the memory killer for one, this one cleans up.
int copyPath(const std::vector<std::string>& words) {
    Place original, copy;
    if (const int error = openPlace(words[1], original); error != 0) return error;
    if (const int error = openPlace(words[2], copy); error != 0) return error;
    const pid_t process = ::fork();
    if (process == 0) ::_exit(copyTree(original, copy) == 0 ? 0 : 1);
    int status = 0;
    while (process < 0 || ::waitpid(process, &status, 0) < 0)
        if (process < 0 || errno != EINTR) return EAGAIN;
    if (WIFSIGNALED(status)) removePiece(copy);
    return status;
}

/// In a process of its own, so that it can take on identities, and be waited for as a tool is.
pid_t startWork(const Command& command, int (*work)(const std::vector<std::string>&)) {
    const pid_t process = ::fork();
    if (process == 0) ::_exit(work(command.words) == 0 ? 0 : 1);
    return process > 0 ? process : -errno;
}

pid_t startTool(const Command& command, ProcessSpawner& spawner) {
    if (!command.words[1].starts_with('/')) return -EINVAL;
    ProcessRequest request;
    request.launchPath = command.words[1];
    request.arguments = {command.words.begin() + 2, command.words.end()};
    request.standardInput = command.streams[0].get();
    request.standardOutput = command.streams[1].get();
    request.standardError = command.streams[2].get();
    request.environment = {{"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                            "HOME=/root", "USER=root", "LOGNAME=root", "SHELL=/bin/sh"}};
    try {
        return spawner.spawn(request);
    } catch (const Exception&) {
        return -ENOEXEC;
    }
}

}  // namespace

pid_t startCommand(const Command& command, ProcessSpawner& spawner) {
    const std::string& word = command.words.at(0);
    const std::size_t count = command.words.size();
    const bool hasStreams = !command.streams.empty();
    if (word == kRemove && count == 2 && !hasStreams) return startWork(command, removePath);
    if (word == kCopy && count == 3 && !hasStreams) return startWork(command, copyPath);
    if (word == kRun && count >= 2 && hasStreams) return startTool(command, spawner);
    return -EINVAL;
}

Service::Service(Client client, ProcessSpawner& spawner)
    : client_(std::move(client)), spawner_(spawner) {
    sigset_t childEnds;
    ::sigemptyset(&childEnds);
    ::sigaddset(&childEnds, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &childEnds, nullptr);
    ends_ = FileDescriptor(::signalfd(-1, &childEnds, SFD_CLOEXEC | SFD_NONBLOCK));
}

bool Service::run() {
    if (!ends_) return false;
    answer(Answer::Kind::ready, 0, kProtocolVersion);
    while (client_.socket || !running_.empty()) {
        std::array<pollfd, 2> events{pollfd{client_.socket.get(), POLLIN, 0},
                                     pollfd{ends_.get(), POLLIN, 0}};
        if (::poll(events.data(), events.size(), -1) < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (events[1].revents != 0) reap();
        if (events[0].revents != 0) receive();
    }
    return true;
}

void Service::receive() {
    const auto command = receiveCommand(client_.socket.get(), client_.process);
    if (!command) return client_.socket.reset();
    const std::int32_t number = ++received_;
    const pid_t process = startCommand(*command, spawner_);
    if (process < 0) return answer(Answer::Kind::refused, number, -process);
    running_[process] = number;
    answer(Answer::Kind::started, number, 0);
}

void Service::reap() {
    signalfd_siginfo taken{};
    while (::read(ends_.get(), &taken, sizeof taken) > 0) {
    }
    int status = 0;
    for (pid_t process = 0; (process = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto ended = running_.find(process);
        if (ended == running_.end()) continue;
        if (WIFSIGNALED(status))
            answer(Answer::Kind::signalled, ended->second, WTERMSIG(status));
        else
            answer(Answer::Kind::exited, ended->second, WEXITSTATUS(status));
        running_.erase(ended);
    }
}

void Service::answer(Answer::Kind kind, std::int32_t command, std::int32_t value) {
    if (client_.socket && !sendAnswer(client_.socket.get(), {kind, command, value}))
        client_.socket.reset();
}

}  // namespace quillmore::platform::administrator
