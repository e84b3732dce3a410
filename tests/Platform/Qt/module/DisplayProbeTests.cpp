// Displays that cannot be used, each in its own way.
#include "Platform/Qt/DisplayProbe.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <thread>

#include "Platform/Files/FileDescriptor.h"

namespace quillmore::platform {
namespace {

class DisplayProbe : public testing::Test {
protected:
    DisplayProbe() { usePlatform("xcb"); }

    static void usePlatform(const char* name) { ::setenv("QT_QPA_PLATFORM", name, 1); }
    static void useDisplay(const std::string& name) { ::setenv("DISPLAY", name.c_str(), 1); }
    /// A display that nobody serves yet: its socket has an abstract name, there is no file.
    static FileDescriptor listen() {
        FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const std::string number = std::to_string(10000 + ::getpid());
        const std::string path = "/tmp/.X11-unix/X" + number;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path + 1, sizeof address.sun_path - 1);
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size());
        EXPECT_EQ(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(listener.get(), 5), 0);
        useDisplay(":" + number);
        return listener;
    }
};

TEST_F(DisplayProbe, AUsablePlatformHasNoProblem) {
    usePlatform("offscreen");
    EXPECT_EQ(problemWithDisplay(), std::nullopt);
}

TEST_F(DisplayProbe, NoSuchDisplay) {
    useDisplay(":no-such-display");
    const auto problem = problemWithDisplay();
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find(":no-such-display"), std::string::npos) << *problem;
}

TEST_F(DisplayProbe, NoSuchPlatform) {
    usePlatform("nothing");
    const auto problem = problemWithDisplay();
    ASSERT_TRUE(problem);
    EXPECT_NE(problem->find("nothing"), std::string::npos) << *problem;
}

TEST_F(DisplayProbe, ADisplayThatNeverAnswers) {
    const FileDescriptor listener = listen();
    EXPECT_EQ(problemWithDisplay(std::chrono::milliseconds(300)), "the display does not answer");
}

TEST_F(DisplayProbe, ADisplayThatHangsUp) {
    const FileDescriptor listener = listen();
    std::thread server([&] {
        const FileDescriptor client(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    });
    EXPECT_TRUE(problemWithDisplay());
    ::shutdown(listener.get(), SHUT_RDWR);  // in case that nobody came
    server.join();
}

}  // namespace
}  // namespace quillmore::platform
