// The messages between the launcher and its privileged program, whole and otherwise.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "Platform/Files/Pipe.h"
#include "Platform/Linux/AdministratorProtocol.h"

namespace quillmore::tests {
namespace {

using namespace platform::administrator;
using platform::FileDescriptor;

class AdministratorProtocol : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(nameSenders(sockets.programs.get())); }
    int launchers() const { return sockets.launchers.get(); }
    std::optional<Command> received() const {
        return receiveCommand(sockets.programs.get(), ::getpid());
    }
    void sendRaw(std::string bytes, std::vector<int> descriptors = {}) const {
        iovec text{bytes.data(), bytes.size()};
        std::vector<char> control(CMSG_SPACE(descriptors.size() * sizeof(int)));
        msghdr message{};
        message.msg_iov = &text;
        message.msg_iovlen = 1;
        if (!descriptors.empty()) {
            message.msg_control = control.data();
            message.msg_controllen = control.size();
            cmsghdr* part = CMSG_FIRSTHDR(&message);
            part->cmsg_level = SOL_SOCKET;
            part->cmsg_type = SCM_RIGHTS;
            part->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
            std::copy(descriptors.begin(), descriptors.end(),
                      reinterpret_cast<int*>(CMSG_DATA(part)));
        }
        ASSERT_EQ(::sendmsg(launchers(), &message, 0), static_cast<ssize_t>(bytes.size()));
    }
    /// Nobody has the pipe's other end any more.
    static bool isClosed(const platform::Pipe& pipe) { return pipe.readToEnd().empty(); }

    SocketPair sockets = makeSocketPair();
};

TEST_F(AdministratorProtocol, CommandArrivesWordByWord) {
    ASSERT_TRUE(sendCommand(launchers(), {kRun, "/bin/tool", "", "two words"}, {0, 1, 2}));
    const auto command = received();
    ASSERT_TRUE(command);
    EXPECT_THAT(command->words, testing::ElementsAre("run", "/bin/tool", "", "two words"));
    ASSERT_THAT(command->streams, testing::SizeIs(3));
    for (const FileDescriptor& stream : command->streams)
        EXPECT_NE(::fcntl(stream.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(AdministratorProtocol, AnswerArrives) {
    ASSERT_TRUE(sendAnswer(sockets.programs.get(), {Answer::Kind::exited, 7, 3}));
    const auto answer = receiveAnswer(launchers());
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->kind, Answer::Kind::exited);
    EXPECT_EQ(answer->command, 7);
    EXPECT_EQ(answer->value, 3);
}

TEST_F(AdministratorProtocol, EndOfTheOtherSideIsTold) {
    sockets.launchers.reset();
    EXPECT_FALSE(received());
    EXPECT_FALSE(sendAnswer(sockets.programs.get(), {}));
}

TEST_F(AdministratorProtocol, CommandThatIsTooLongOrEmptyIsNotSent) {
    EXPECT_FALSE(sendCommand(launchers(), {}));
    EXPECT_FALSE(sendCommand(launchers(), {kRemove, "/" + std::string(40'000, 'a')}));
    EXPECT_FALSE(sendCommand(launchers(), {kRun, "/bin/true"}, {0, 1}));
}

TEST_F(AdministratorProtocol, MessageThatIsNotWholeIsRefused) {
    for (const std::string& bytes :
         {std::string("remove\0/path", 12), std::string("x"), std::string(40'000, '\0')}) {
        sendRaw(bytes);
        EXPECT_FALSE(received()) << bytes.size();
    }
}

TEST_F(AdministratorProtocol, OtherNumbersOfDescriptorsAreRefusedAndClosed) {
    const std::string bytes("run\0/bin/true\0", 14);
    for (const std::size_t count : {1, 2, 4, 100}) {
        platform::Pipe pipe;
        sendRaw(bytes, std::vector<int>(count, pipe.writeEnd().get()));
        pipe.writeEnd().reset();
        EXPECT_FALSE(received()) << count;
        EXPECT_TRUE(isClosed(pipe)) << count;
    }
}

TEST_F(AdministratorProtocol, MessageOfAnotherProcessIsRefusedAndItsDescriptorsClosed) {
    platform::Pipe pipe;
    const pid_t child = ::fork();
    if (child == 0) {
        const int end = pipe.writeEnd().get();
        ::_exit(sendCommand(launchers(), {kRun, "/bin/true"}, {end, end, end}) ? 0 : 1);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    pipe.writeEnd().reset();
    EXPECT_FALSE(received());
    EXPECT_TRUE(isClosed(pipe));
}

TEST_F(AdministratorProtocol, WhatIsNoAnswerIsTheEnd) {
    const Answer wrong{static_cast<Answer::Kind>(99), 1, 1};
    ASSERT_TRUE(sendAnswer(sockets.programs.get(), wrong));
    EXPECT_FALSE(receiveAnswer(launchers()));
    ASSERT_EQ(::send(sockets.programs.get(), "short", 5, 0), 5);
    EXPECT_FALSE(receiveAnswer(launchers()));
    ASSERT_EQ(::send(sockets.programs.get(), std::string(100, 'x').data(), 100, 0), 100);
    EXPECT_FALSE(receiveAnswer(launchers()));
}

TEST_F(AdministratorProtocol, NobodyWaitsForASideThatDoesNotRead) {
    int sent = 0;
    while (sendAnswer(sockets.programs.get(), {Answer::Kind::exited, sent, 0})) ++sent;
    EXPECT_GT(sent, 10);
}

}  // namespace
}  // namespace quillmore::tests
