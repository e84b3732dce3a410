// Questions through a module, and the privileged program through a stand-in for pkexec. Apart from
// the other tests, because a module that was opened stays.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

#include "Platform/Linux/LinuxAuthorization.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/Platform/Files/TemporaryFiles.h"
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
    ~LinuxAuthorizationModule() override {
        ::unsetenv("QUILLMORE_TEST_POLKIT_ANSWER");
        ::unsetenv("QUILLMORE_TEST_POLKIT_PROBLEM");
    }

    void use(const std::string& module) {
        platform::LinuxAuthorizationOptions options;
        options.moduleFolder = kModules + "/" + module;
        options.programFolder = QUILLMORE_TEST_HELPERS;
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
    /// What pkexec does once it is answered.
    void becomeTheProgram() const { writePkexec("shift; exec \"$@\""); }
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
    becomeTheProgram();
    EXPECT_EQ(ask("1"), platform::kAuthorizationDenied);
    EXPECT_EQ(ask("2", 0), platform::kAuthorizationInteractionNotAllowed);
    EXPECT_TRUE(problems.take().empty());
    EXPECT_EQ(ask("3"), platform::kAuthorizationInternal);
    EXPECT_EQ(ask("99"), platform::kAuthorizationInternal);
    EXPECT_EQ(ask("0"), platform::kAuthorizationSuccess);
}

TEST_F(LinuxAuthorizationModule, WithoutDescriptorsToSpareNothingIsAskedAndTheReasonSaid) {
    const int next = ::dup(0);
    ::close(next);
    {
        const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next + 5));
        EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    }
    EXPECT_THAT(problems.take(), testing::ElementsAre("polkit: Too many open files"));
}

TEST_F(LinuxAuthorizationModule, NameOfTheProgramSaysWhatItIsFor) {
    using platform::AuthorizationPurpose;
    const std::string asked = std::string("polkit: asked ") + QUILLMORE_TEST_HELPERS;
    for (const auto purpose :
         {AuthorizationPurpose::general, AuthorizationPurpose::installComponents,
          AuthorizationPurpose::moveToApplications}) {
        reference->purpose = purpose;
        ask("3");
    }
    EXPECT_THAT(problems.take(), testing::ElementsAre(asked + "/quillmore-administrator",
                                                      asked + "/quillmore-install-components",
                                                      asked + "/quillmore-move-to-applications"));
}

TEST_F(LinuxAuthorizationModule, RightThatIsHeldIsNotAskedForAgain) {
    becomeTheProgram();
    EXPECT_EQ(ask("0"), platform::kAuthorizationSuccess);
    EXPECT_EQ(ask("1"), platform::kAuthorizationSuccess);
}

TEST_F(LinuxAuthorizationModule, RefusedRightDoesNotExecute) {
    becomeTheProgram();
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
    becomeTheProgram();
    ASSERT_EQ(execute({"-c", "echo $$; exec sleep 1000"}, Communications::stream), 0);
    char number[16] = {};
    ASSERT_GT(::read(started.communicationsStream.get(), number, sizeof number - 1), 0);
    ::kill(std::atoi(number), SIGKILL);
    EXPECT_TRUE(started.wait().signalled);
}

TEST_F(LinuxAuthorizationModule, ToolThatFailsDidRunWhateverItsStatus) {
    becomeTheProgram();
    for (const int status : {0, 1, 126, 127}) {
        ASSERT_EQ(execute({"-c", "exit " + std::to_string(status)}), 0);
        EXPECT_EQ(started.wait().value, status);
    }
}

TEST_F(LinuxAuthorizationModule, ToolAndArgumentsArePassedThrough) {
    becomeTheProgram();
    ASSERT_EQ(execute({"-c", "printf '<%s>' \"$@\"", "name", "a b", "", "--user"},
                      Communications::stream),
              0);
    char buffer[64];
    const ssize_t count = ::read(started.communicationsStream.get(), buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, count > 0 ? static_cast<std::size_t>(count) : 0),
              "<a b><><--user>");
}

TEST_F(LinuxAuthorizationModule, EndOfPkexecBeforeTheProgramHasItsStatus) {
    writePkexec("exit 126");
    EXPECT_EQ(ask("2"), platform::kAuthorizationCanceled);
    writePkexec("echo 'Error executing command as another user: Not authorized' >&2; exit 127");
    EXPECT_EQ(ask("2"), platform::kAuthorizationDenied);
    EXPECT_TRUE(problems.take().empty());
    for (const char* body : {"exit 127", "exit 1", "exit 0", "kill -9 $$"}) {
        writePkexec(body);
        EXPECT_EQ(ask("2"), platform::kAuthorizationInternal) << body;
    }
    EXPECT_THAT(problems.take(), testing::Each("pkexec: "));
}

TEST_F(LinuxAuthorizationModule, WhatPkexecSaysIsReportedOnOneLine) {
    writePkexec("printf 'one\\ntwo\\n' >&2; exit 127");
    EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(), testing::ElementsAre("pkexec: one two"));
}

TEST_F(LinuxAuthorizationModule, MissingPkexecIsAnInternalErrorAndReported) {
    EXPECT_EQ(ask("0"), platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(), testing::SizeIs(1));
}

/// No desktop asks; the module has an agent for the terminal, and this is what befell it.
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
    /// A pkexec that finds somebody to ask once there is an agent.
    void writeAsking(const std::string& afterwards) const {
        writePkexec("[ -e '" + path() +
                    "' ] || { echo 'No authentication agent found.' >&2; exit 127; }\n" +
                    "while ! grep -q attended '" + path() + "'; do :; done\n" + afterwards);
    }
};

TEST_F(LinuxAuthorizationAgent, AgentMayAskUntilTheProgramRuns) {
    writeAsking("shift; exec \"$@\"");
    reference->question = "why";
    EXPECT_EQ(ask("2"), platform::kAuthorizationSuccess);
    EXPECT_THAT(events(), testing::ElementsAre("made <why>", "attended", "released"));
    EXPECT_TRUE(problems.take().empty());
}

TEST_F(LinuxAuthorizationAgent, DismissalOnTheTerminalIsTheCancellation) {
    writeAsking("exit 126");
    EXPECT_EQ(ask("2"), platform::kAuthorizationCanceled);
    EXPECT_EQ(events().back(), "released");
}

TEST_F(LinuxAuthorizationAgent, AgentOfADesktopLeavesTheTerminalAlone) {
    becomeTheProgram();
    EXPECT_EQ(ask("2"), platform::kAuthorizationSuccess);
    EXPECT_THAT(events(), testing::IsEmpty());
}

TEST_F(LinuxAuthorizationModule, NobodyToAskIsNoInteractionOrTheAgentsProblem) {
    writePkexec("echo 'No authentication agent found.' >&2; exit 127");
    EXPECT_EQ(ask("2"), platform::kAuthorizationInteractionNotAllowed);
    EXPECT_TRUE(problems.take().empty());
    ::setenv("QUILLMORE_TEST_POLKIT_PROBLEM", "it broke", 1);
    EXPECT_EQ(ask("2"), platform::kAuthorizationInternal);
    EXPECT_THAT(problems.take(), testing::ElementsAre("polkit: it broke"));
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
