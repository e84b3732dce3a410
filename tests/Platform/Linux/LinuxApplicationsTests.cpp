// Workspace and events together, on real processes of a bundle in a temporary folder.
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include "Platform/Linux/LinuxAppleEvents.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using platform::Dictionary;
using platform::kApplicationBundleIdentifier;
using platform::kApplicationProcessIdentifier;

class LinuxApplications : public testing::Test {
protected:
    /// A bundle whose executable is a copy of one of the system's programs.
    void makeBundle(const std::string& program) const {
        const std::string contents = root.path() + kBundle + "/Contents";
        std::filesystem::create_directories(contents + "/MacOS");
        std::filesystem::copy_file(program, contents + "/MacOS/Sample");
        std::ofstream(contents + "/Info.plist") << platform::writePropertyList(
            Dictionary{{"CFBundleIdentifier", kIdentifier}, {"CFBundleExecutable", "Sample"}});
    }
    /// Started as a child of the test, not through the workspace.
    pid_t startProgram(const std::vector<std::string>& arguments) {
        platform::ProcessRequest request;
        request.launchPath = files.hostPath(std::string(kBundle) + "/Contents/MacOS/Sample");
        request.arguments = arguments;
        return spawner->spawn(request);
    }
    std::vector<pid_t> processesOfBundle() {
        std::vector<pid_t> processes;
        for (const Dictionary& record : workspace.launchedApplications()) {
            if (platform::stringForKey(record, kApplicationBundleIdentifier) == kIdentifier)
                processes.push_back(record.at(kApplicationProcessIdentifier).intValue());
        }
        return processes;
    }
    platform::OSStatus quit() {
        std::unique_ptr<platform::AppleEvent> event;
        events.build({.eventClass = platform::fourCharCode("aevt"),
                      .eventIdentifier = platform::fourCharCode("quit"),
                      .addressType = platform::fourCharCode("bund"),
                      .addressBytes = kIdentifier},
                     event);
        return events.send(*event, platform::kAppleEventNoReply,
                           platform::kAppleEventDefaultTimeOut);
    }

    static constexpr const char* kBundle = "/Applications/Sample.app";
    static constexpr const char* kIdentifier = "com.quillmore.test.sample";
    TemporaryFolder root;
    platform::FileManager files{root.path()};
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    platform::LinuxWorkspace workspace{files, *spawner};
    platform::LinuxAppleEvents events{workspace};
};

TEST_F(LinuxApplications, RunningBundleIsFoundUntilItQuits) {
    makeBundle("/bin/sleep");
    const pid_t child = startProgram({"1000"});
    EXPECT_THAT(processesOfBundle(), testing::ElementsAre(child));
    EXPECT_EQ(quit(), 0);
    EXPECT_EQ(spawner->wait(child).value, SIGTERM);
    EXPECT_TRUE(processesOfBundle().empty());
    EXPECT_EQ(quit(), platform::kAppleEventApplicationNotFound);
}

TEST_F(LinuxApplications, EndedButNotYetWaitedForIsNotRunning) {
    makeBundle("/bin/true");
    const pid_t child = startProgram({});
    siginfo_t information{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(processesOfBundle().empty());
    spawner->wait(child);
}

TEST_F(LinuxApplications, LaunchedBundleRunsOnItsOwnAndLeavesNoZombie) {
    makeBundle("/usr/bin/yes");  // runs until told to quit, and writes to nowhere
    ASSERT_TRUE(workspace.launchApplication(kBundle));
    const std::vector<pid_t> processes = processesOfBundle();
    ASSERT_THAT(processes, testing::SizeIs(1));
    const pid_t process = processes[0];
    EXPECT_EQ(::getsid(process), process);
    for (const char* stream : {"0", "1", "2"}) {
        EXPECT_EQ(
            std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/fd/" + stream),
            "/dev/null");
    }
    EXPECT_EQ(quit(), 0);
    while (::kill(process, 0) == 0) ::sched_yield();  // a zombie would stay for ever
    EXPECT_EQ(errno, ESRCH);
}

}  // namespace
}  // namespace quillmore::tests
