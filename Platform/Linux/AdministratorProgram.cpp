#include "Platform/Linux/AdministratorProgram.h"

#include <csignal>

#include "Platform/Files/Pipe.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

using administrator::Answer;

std::optional<AdministratorProgram::Failure> AdministratorProgram::start(
    const std::vector<std::string>& commandLine, const std::function<void(int)>& attend) {
    administrator::SocketPair sockets = administrator::makeSocketPair();
    if (!sockets.launchers) throw Exception(kInvalidArgumentException, "no socket can be had");
    Pipe errors;
    ProcessRequest request;
    request.launchPath = commandLine.front();
    request.arguments = {commandLine.begin() + 1, commandLine.end()};
    request.standardInput = sockets.programs.get();
    request.standardError = errors.writeEnd().get();
    const pid_t process = spawner_.spawn(request);
    sockets.programs.reset();
    errors.writeEnd().reset();

    // The socket's other end is in no other hands: it closes with the process, if not before.
    attend(sockets.launchers.get());
    const auto answer = administrator::receiveAnswer(sockets.launchers.get());
    if (answer && answer->kind == Answer::Kind::ready &&
        answer->value == administrator::kProtocolVersion) {
        socket_ = std::move(sockets.launchers);
        process_ = process;
        return std::nullopt;
    }
    sockets.launchers.reset();
    Failure failure{spawner_.wait(process), errors.readToEnd()};
    return failure;
}

bool AdministratorProgram::receive(Answer& answer) {
    const auto received = socket_ ? administrator::receiveAnswer(socket_.get()) : std::nullopt;
    if (!received) {
        close();
        return false;
    }
    answer = *received;
    if (answer.kind == Answer::Kind::exited) ended_[answer.command] = {false, answer.value};
    if (answer.kind == Answer::Kind::signalled) ended_[answer.command] = {true, answer.value};
    return true;
}

std::optional<std::int32_t> AdministratorProgram::execute(const std::vector<std::string>& words,
                                                          const std::vector<int>& streams) {
    if (!socket_ || !administrator::sendCommand(socket_.get(), words, streams)) return std::nullopt;
    const std::int32_t number = ++sent_;
    for (Answer answer; receive(answer);) {
        if (answer.command != number) continue;
        if (answer.kind == Answer::Kind::started) return number;
        if (answer.kind == Answer::Kind::refused) return std::nullopt;
    }
    return std::nullopt;
}

ProcessEnd AdministratorProgram::wait(std::int32_t command) {
    for (Answer answer; !ended_.contains(command);)
        if (!receive(answer)) return {true, SIGKILL};
    return ended_.at(command);
}

void AdministratorProgram::close() {
    socket_.reset();
    if (process_ > 0) spawner_.abandon(std::exchange(process_, 0));
}

}  // namespace quillmore::platform
