// Questions through a module, and the start of tools through a stand-in for pkexec. Apart from the
// other tests, because a module that was opened stays.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include "Platform/Linux/LinuxAuthorization.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/RecordingProblems.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using platform::Authorization;
using platform::kAuthorizationFlagInteractionAllowed;
using platform::kAuthorizationRightAdministrator;
using platform::OSStatus;
using Communications = platform::Authorization::Communications;

const std::string kModules = QUILLMORE_TEST_MODULES;

class LinuxAuthorizationModule : public testing::Test {
protected:
    LinuxAuthorizationModule() { use("fake"); }
    ~LinuxAuthorizationModule() override { ::unsetenv("QUILLMORE_TEST_POLKIT_ANSWER"); }

    void use(const std::string& module) {
        platform::LinuxAuthorizationOptions options;
        options.moduleFolder = kModules + "/" + module;
        options.pkexecPath = folder.path() + "/pkexec";
        options.effectiveUser = 1000;
        options.problems = &problems;
        authorization = std::make_unique<platform::LinuxAuthorization>(*spawner, options);
        authorization->create(reference);
    }
    OSStatus ask(const char* answer, std::uint32_t flags = kAuthorizationFlagInteractionAllowed) {
        ::setenv("QUILLMORE_TEST_POLKIT_ANSWER", answer, 1);
        return authorization->copyRights(*reference, {kAuthorizationRightAdministrator}, flags);
    }
    /// A program that stands where pkexec is looked for.
    void writePkexec(const std::string& body) const {
        const std::string path = folder.path() + "/pkexec";
        std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
        ::chmod(path.c_str(), 0755);
    }
    OSStatus execute(const std::vector<std::string>& shellArguments,
                     Communications communications = Communications::none) {
        EXPECT_EQ(ask("0"), 0);
        return authorization->executeWithPrivileges(*reference, "/bin/sh", shellArguments,
                                                    communications, started);
    }

    TemporaryFolder folder;
    RecordingProblems problems;
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
    std::unique_ptr<platform::LinuxAuthorization> authorization;
    std::unique_ptr<platform::AuthorizationReference> reference;
    platform::PrivilegedProcess started;
};

TEST_F(LinuxAuthorizationModule, EveryAnswerHasItsStatus) {
    EXPECT_EQ(ask("0"), platform::kAuthorizationSuccess);
    EXPECT_EQ(ask("1"), platform::kAuthorizationDenied);
    EXPECT_EQ(ask("2"), platform::kAuthorizationInteractionNotAllowed);
    EXPECT_EQ(ask("3"), platform::kAuthorizationCanceled);
    EXPECT_TRUE(problems.take().empty());
    EXPECT_EQ(ask("4"), platform::kAuthorizationInternal);
    EXPECT_EQ(ask("99"), platform::kAuthorizationInternal);
}

TEST_F(LinuxAuthorizationModule, OwnActionIsAskedFirstAndTheFlagIsPassedOn) {
    ask("4", kAuthorizationFlagInteractionAllowed);
    ask("4", platform::kAuthorizationFlagExtendRights | platform::kAuthorizationFlagPreAuthorize);
    const std::string asked =
        "polkit: asked com.quillmore.launcher.administer org.freedesktop.policykit.exec "
        "interaction ";
    EXPECT_THAT(problems.take(), testing::ElementsAre(asked + "1", asked + "0"));
}

TEST_F(LinuxAuthorizationModule, RefusedRightDoesNotExecute) {
    writePkexec("exec \"$@\"");
    EXPECT_EQ(ask("1"), platform::kAuthorizationDenied);
    EXPECT_EQ(authorization->executeWithPrivileges(*reference, "/bin/sh", {}, Communications::none,
                                                   started),
              platform::kAuthorizationDenied);
}

TEST_F(LinuxAuthorizationModule, ModuleOfAnotherVersionIsNotUsed) {
    use("other_version");
    EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(),
                testing::ElementsAre(testing::HasSubstr("is not of this version")));
}

TEST_F(LinuxAuthorizationModule, LibraryThatIsNoModuleIsNotUsed) {
    use("no_module");
    EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(),
                testing::ElementsAre(testing::HasSubstr("is not of this version")));
}

TEST_F(LinuxAuthorizationModule, ToolThatRunsOnIsASuccessAtOnce) {
    writePkexec("exec \"$@\"");
    ASSERT_EQ(execute({"-c", "exec sleep 1000"}), 0);
    EXPECT_FALSE(spawner->poll(started.process).has_value());
    ::kill(started.process, SIGKILL);
    EXPECT_TRUE(spawner->wait(started.process).signalled);
}

TEST_F(LinuxAuthorizationModule, ToolThatFailsDidRunWhateverItsStatus) {
    writePkexec("exec \"$@\"");
    for (const int status : {0, 1, 126, 127}) {
        ASSERT_EQ(execute({"-c", "exit " + std::to_string(status)}), 0);
        EXPECT_EQ(spawner->wait(started.process).value, status);
    }
}

TEST_F(LinuxAuthorizationModule, ToolKilledBySignalDidRun) {
    writePkexec("exec \"$@\"");
    ASSERT_EQ(execute({"-c", "kill -9 $$"}), 0);
    EXPECT_TRUE(spawner->wait(started.process).signalled);
}

TEST_F(LinuxAuthorizationModule, ToolAndArgumentsArePassedThrough) {
    writePkexec("exec \"$@\"");
    ASSERT_EQ(
        execute({"-c", "printf '<%s>' \"$@\"", "name", "a b", "--user"}, Communications::stream),
        0);
    char buffer[64];
    const ssize_t count = ::read(started.communicationsStream.get(), buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, count > 0 ? static_cast<std::size_t>(count) : 0),
              "<a b><--user>");
    spawner->wait(started.process);
}

TEST_F(LinuxAuthorizationModule, EndOfPkexecBeforeTheToolHasItsStatus) {
    writePkexec("exit 126");
    EXPECT_EQ(execute({}), platform::kAuthorizationCanceled);
    for (const char* body : {"exit 127", "exit 1", "exit 0", "kill -9 $$"}) {
        writePkexec(body);
        EXPECT_EQ(execute({}), platform::kAuthorizationToolExecuteFailure) << body;
    }
    EXPECT_EQ(started.process, 0);
}

TEST_F(LinuxAuthorizationModule, MissingPkexecIsAnExecuteFailure) {
    EXPECT_EQ(execute({}), platform::kAuthorizationToolExecuteFailure);
    EXPECT_THAT(problems.take(), testing::SizeIs(1));
}

TEST_F(LinuxAuthorizationModule, HiddenProcessesAreToldByTheExitStatus) {
    platform::LinuxAuthorizationOptions options;
    options.moduleFolder = kModules + "/fake";
    options.pkexecPath = folder.path() + "/pkexec";
    options.procFolder = folder.path();  // no names to be had
    options.effectiveUser = 1000;
    authorization = std::make_unique<platform::LinuxAuthorization>(*spawner, options);
    writePkexec("exit 126");
    EXPECT_EQ(execute({}), platform::kAuthorizationCanceled);
    writePkexec("exit 127");
    EXPECT_EQ(execute({}), platform::kAuthorizationToolExecuteFailure);
    writePkexec("exec \"$@\"");
    ASSERT_EQ(execute({"-c", "exit 3"}), 0);
    EXPECT_EQ(spawner->wait(started.process).value, 3);
}

/// The module gives an agent for the terminal, and this is what befell it.
class LinuxAuthorizationAgent : public LinuxAuthorizationModule {
protected:
    LinuxAuthorizationAgent() { ::setenv("QUILLMORE_TEST_POLKIT_AGENT", path().c_str(), 1); }
    ~LinuxAuthorizationAgent() override { ::unsetenv("QUILLMORE_TEST_POLKIT_AGENT"); }
    std::string path() const { return folder.path() + "/agent"; }
    std::vector<std::string> events() const {
        std::vector<std::string> lines;
        std::ifstream file(path());
        for (std::string line; std::getline(file, line);) lines.push_back(line);
        return lines;
    }
};

TEST_F(LinuxAuthorizationAgent, AgentMayAskUntilTheToolRuns) {
    writePkexec("while ! [ -s \"" + path() + "\" ]; do :; done; exec \"$@\"");
    ASSERT_EQ(execute({"-c", "exit 3"}), 0);
    EXPECT_EQ(spawner->wait(started.process).value, 3);
    auto seen = events();
    ASSERT_GE(seen.size(), 2U);
    EXPECT_EQ(seen.back(), "released");
    seen.pop_back();
    EXPECT_THAT(seen, testing::Each("attended"));
}

TEST_F(LinuxAuthorizationAgent, AgentStaysAfterADismissalAndGoesWithTheReference) {
    writePkexec("exit 126");
    ASSERT_EQ(execute({}), platform::kAuthorizationCanceled);
    EXPECT_THAT(events(), testing::Not(testing::Contains("released")));
    authorization->free(std::move(reference));
    EXPECT_EQ(events().back(), "released");
}

TEST_F(LinuxAuthorizationAgent, AgentOfAnEarlierQuestionGoesBeforeTheNextOne) {
    ASSERT_EQ(ask("0"), 0);
    EXPECT_THAT(events(), testing::IsEmpty());
    ASSERT_EQ(ask("0"), 0);
    EXPECT_THAT(events(), testing::ElementsAre("released"));
}

/// Whether a library whose name contains the text is mapped into this process.
bool isMapped(const std::string& text) {
    std::ifstream maps("/proc/self/maps");
    std::string line;
    while (std::getline(maps, line))
        if (line.find(text) != std::string::npos) return true;
    return false;
}

TEST_F(LinuxAuthorizationModule, PolkitAndGLibAreMappedByTheFirstQuestionOnly) {
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
    ::setenv("G_DEBUG", "fatal-warnings", 1);
    use("real");
    EXPECT_FALSE(isMapped("libglib"));
    EXPECT_FALSE(isMapped("polkit-gobject"));
    EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    EXPECT_TRUE(isMapped("libglib"));
    EXPECT_TRUE(isMapped("polkit-gobject"));
    EXPECT_THAT(problems.take(), testing::ElementsAre(testing::HasSubstr("Could not connect")));
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    ::unsetenv("G_DEBUG");
}

}  // namespace
}  // namespace quillmore::tests
