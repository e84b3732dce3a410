#include "QuillmoreLauncher/Classes/UpdateToolManager.h"

#include <sys/wait.h>

#include <chrono>
#include <exception>
#include <stdexcept>
#include <thread>

#include "Platform/Files/FileDescriptor.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class UpdateTool : public LauncherFixture {
protected:
    static UpdateToolManager& tool() { return UpdateToolManager::sharedManager(); }
    void teachUpdateTool(int exitStatus) {
        services.processes.teach(kUpdateTool, {"", {false, exitStatus}, {}});
    }
    static std::string line(const std::string& arguments) {
        return std::string(kUpdateTool) + " " + arguments;
    }
};

TEST_F(UpdateTool, StartsUnknown) {
    EXPECT_EQ(&UpdateToolManager::sharedManager(), &UpdateToolManager::sharedManager());
    EXPECT_EQ(tool().status(), UpdateToolStatusUnknown);
}

TEST_F(UpdateTool, StatusesHaveTheirNumbers) {
    EXPECT_EQ(UpdateToolStatusOK, 0);
    EXPECT_EQ(UpdateToolStatusMissing, 1);
    EXPECT_EQ(UpdateToolStatusWrongPermissions, 2);
    EXPECT_EQ(UpdateToolStatusUnknown, 3);
    EXPECT_EQ(UpdateToolStatusFailed, 4);
    EXPECT_EQ(UpdateToolStatusRunning, 5);
}

// The check

class UpdateToolCheck : public UpdateTool {
protected:
    void expectCheck(const UpdateToolManager::Argument& name, std::int32_t expected) {
        EXPECT_EQ(tool().verifyUpdateTool(name), expected);
        EXPECT_EQ(tool().status(), expected);
    }
};

TEST_F(UpdateToolCheck, NothingThereIsMissing) {
    expectCheck("updateqm", 1);
    expectCheck(std::nullopt, 1);
}

TEST_F(UpdateToolCheck, SetUserIdToolOfRootIsIntact) {
    installTool(kUpdateTool, "", 04755);
    expectCheck("updateqm", 0);
}

TEST_F(UpdateToolCheck, AnyOtherModeIsWrong) {
    for (const mode_t mode : {0755, 04775, 06755, 04750, 05755}) {
        installTool(kUpdateTool, "", mode);
        expectCheck("updateqm", 2);
    }
}

TEST_F(UpdateToolCheck, AnyOtherOwnerIsWrong) {
    installTool(kUpdateTool, "", 04755, "jo");
    expectCheck("updateqm", 2);
}

TEST_F(UpdateToolCheck, TheNameSelectsTheTool) {
    installTool("/Library/Application Support/Quillmore/other", "", 04755);
    expectCheck("other", 0);
    expectCheck("updateqm", 1);
}

// Runs

TEST_F(UpdateTool, RunThatEndsWithZeroSucceeds) {
    services.processes.teach("/x", {});
    EXPECT_EQ(tool().runExe("/x", {"a", "b"}, true), 0);
    EXPECT_THAT(services.processes.started, ElementsAre("/x a b"));
    EXPECT_THAT(logLines(),
                ElementsAre("(vrb) UpdateToolManager:runExe: Running \"/x\"...",
                            "(vrb) UpdateToolManager:runExe: Succeeded running \"/x\""));
    EXPECT_EQ(tool().status(), UpdateToolStatusUnknown);
}

TEST_F(UpdateTool, RunInheritsTheStandardStreams) {
    services.processes.teach("/x", {});
    tool().runExe("/x", {}, true);
    const platform::ProcessRequest& request = services.processes.requests.at(0);
    EXPECT_EQ(request.standardInput, platform::ProcessRequest::kInherit);
    EXPECT_EQ(request.standardOutput, platform::ProcessRequest::kInherit);
    EXPECT_EQ(request.standardError, platform::ProcessRequest::kInherit);
}

/// A tool that says the words on standard error and fails.
const platform::ProcessEnd kFailed{false, 1};
FakeProcessSpawner::Child toolThatSays(const std::string& words) {
    return {"", kFailed, [words](const platform::ProcessRequest& request) {
                platform::writeAll(request.standardError, words);
            }};
}

TEST_F(UpdateTool, WordsOfARepairGoToTheLogFileAndOnceToTheTerminal) {
    const std::string file = initLogging3("normal", "normal", std::nullopt, "P", "P");
    services.processes.teach("/x/tool", toolThatSays("tool: no room\n\ntool: gives up\n"));
    tool().setRepairedItem("one");
    logLines();
    tool().runExe("/x/tool", {"repairother", "b"}, true);
    EXPECT_THAT(logLines(), ElementsAre("tool: no room", "", "tool: gives up",
                                        "(ERR) UpdateToolManager:runExe: Failed running "
                                        "\"/x/tool\""));
    const std::string text = services.read(file);
    EXPECT_THAT(text, testing::HasSubstr("Repair of \"one\" (tool repairother): tool: no room\n"));
    EXPECT_THAT(text, testing::HasSubstr("Repair of \"one\" (tool repairother): tool: gives up\n"));
}

TEST_F(UpdateTool, RunThatEndsOtherwiseFails) {
    for (const platform::ProcessEnd end :
         {platform::ProcessEnd{false, 1}, {false, 255}, {true, 9}}) {
        services.processes.teach("/x", {"", end, {}});
        logLines();
        EXPECT_EQ(tool().runExe("/x", {}, true), 4);
        EXPECT_THAT(logLines(),
                    ElementsAre("(vrb) UpdateToolManager:runExe: Running \"/x\"...",
                                "(ERR) UpdateToolManager:runExe: Failed running \"/x\""));
    }
}

TEST_F(UpdateTool, RunThatIsNotWaitedForStartsAndCountsAsFailed) {
    services.processes.teach("/x", {});
    EXPECT_EQ(tool().runExe("/x", {}, false), 4);
    EXPECT_THAT(services.processes.started, ElementsAre("/x"));
    EXPECT_EQ(services.processes.abandoned.size(), 1U);
    EXPECT_THAT(logLines(), ElementsAre("(vrb) UpdateToolManager:runExe: Running \"/x\"...",
                                        "(ERR) UpdateToolManager:runExe: Failed running \"/x\""));
}

TEST_F(UpdateTool, RunThatCannotBeStartedFailsWithTheReason) {
    EXPECT_EQ(tool().runExe("/none", {}, true), 4);
    EXPECT_THAT(logLines(),
                ElementsAre("(vrb) UpdateToolManager:runExe: Running \"/none\"...",
                            "(ERR) UpdateToolManager:runExe: Exception during running \"/none\" "
                            "(NSInvalidArgumentException (launch path not accessible))",
                            "(ERR) UpdateToolManager:runExe: Failed running \"/none\""));
}

class UnwaitableSpawner final : public platform::ProcessSpawner {
public:
    template <class Raised>
    explicit UnwaitableSpawner(const Raised& raised) : raised_(std::make_exception_ptr(raised)) {}
    std::vector<pid_t> abandoned;
    pid_t spawn(const platform::ProcessRequest&) override { return 77; }
    platform::ProcessEnd wait(pid_t) override { std::rethrow_exception(raised_); }
    std::optional<platform::ProcessEnd> poll(pid_t) override { return std::nullopt; }
    void abandon(pid_t process) override { abandoned.push_back(process); }

private:
    std::exception_ptr raised_;
};

TEST_F(UpdateTool, RunThatCannotBeWaitedForFailsWithTheReason) {
    UnwaitableSpawner spawner(platform::Exception(platform::kGenericException, "no such child"));
    services.set.processes = &spawner;
    EXPECT_EQ(tool().runExe("/x", {}, true), 4);
    EXPECT_THAT(logLines(), Contains("(ERR) UpdateToolManager:runExe: Exception during running "
                                     "\"/x\" (NSGenericException (no such child))"));
    EXPECT_THAT(spawner.abandoned, ElementsAre(77));
}

TEST_F(UpdateTool, ExceptionThatIsNotThePlatformsGoesOn) {
    UnwaitableSpawner spawner(std::logic_error("of another kind"));
    services.set.processes = &spawner;
    EXPECT_THROW(tool().runExe("/x", {}, true), std::logic_error);
    EXPECT_THAT(logLines(), ElementsAre("(vrb) UpdateToolManager:runExe: Running \"/x\"..."));
    EXPECT_THAT(spawner.abandoned, ElementsAre(77));
}

TEST_F(UpdateTool, RealRunsEndAsTheirProgramsDo) {
    const auto spawner = platform::makePosixProcessSpawner();
    services.set.processes = spawner.get();
    EXPECT_EQ(tool().runExe("/bin/sh", {"-c", "exit 0"}, true), 0);
    EXPECT_EQ(tool().runExe("/bin/sh", {"-c", "exit 3"}, true), 4);
    EXPECT_EQ(tool().runExe("/bin/sh", {"-c", "kill -9 $$"}, true), 4);
    EXPECT_EQ(tool().runExe("/dev/null", {}, true), 4);
    EXPECT_EQ(tool().runExe(services.host("/tmp"), {}, true), 4);
}

TEST_F(UpdateTool, RealRunThatIsNotWaitedForIsDoneAndLeavesNoZombie) {
    const auto spawner = platform::makePosixProcessSpawner();
    services.set.processes = spawner.get();
    const std::string mark = services.host("/tmp/done");
    EXPECT_EQ(tool().runExe("/bin/sh", {"-c", "echo > \"$0\"", mark}, false), 4);
    // Waits for the child without taking it, until there is none: somebody else took it.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    siginfo_t information{};
    int child = 0;
    while ((child = ::waitid(P_ALL, 0, &information, WEXITED | WNOWAIT)) == 0 &&
           std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    EXPECT_EQ(child, -1) << "a zombie stays";
    EXPECT_TRUE(services.exists("/tmp/done"));
}

TEST_F(UpdateTool, UpdateToolRunsFromWhereItIsInstalled) {
    teachUpdateTool(0);
    EXPECT_EQ(tool().runUpdateTool({"word"}, true), 0);
    EXPECT_EQ(tool().runUpdateTool({"word"}, false), 4);
    EXPECT_THAT(services.processes.started, ElementsAre(line("word"), line("word")));
}

// Repairs, a row of the command table each

struct CommandRow {
    const char* name;
    std::int32_t (*repair)(UpdateToolManager&);
    const char* arguments;
    std::int32_t statusAfterSuccess;
};

class UpdateToolCommand : public UpdateTool, public testing::WithParamInterface<CommandRow> {};

TEST_P(UpdateToolCommand, SendsItsCommandLine) {
    teachUpdateTool(0);
    EXPECT_EQ(GetParam().repair(tool()), 0);
    EXPECT_THAT(services.processes.started, ElementsAre(line(GetParam().arguments)));
    EXPECT_EQ(tool().status(), GetParam().statusAfterSuccess);
    EXPECT_THAT(services.authorization.calls, IsEmpty());
}

TEST_P(UpdateToolCommand, FailureIsPassedOnAndLeavesTheStatusRunning) {
    teachUpdateTool(2);
    EXPECT_EQ(GetParam().repair(tool()), UpdateToolStatusFailed);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
}

TEST_P(UpdateToolCommand, StatusIsRunningWhileTheToolRuns) {
    std::int32_t seen = -1;
    services.processes.teach(kUpdateTool, {"", {}, [&](const auto&) { seen = tool().status(); }});
    GetParam().repair(tool());
    EXPECT_EQ(seen, UpdateToolStatusRunning);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UpdateToolCommand,
    testing::Values(
        CommandRow{"Core", [](UpdateToolManager& m) { return m.repairCoreAppPermissions("/c"); },
                   "repaircore /c", 0},
        CommandRow{"Tool", [](UpdateToolManager& m) { return m.repairQMTool("/p", "/s"); },
                   "repairother /p /s", 0},
        CommandRow{"ToolWithoutPackage",
                   [](UpdateToolManager& m) { return m.repairQMTool(std::nullopt, "/s"); },
                   "repairother", 0},
        CommandRow{"ToolPermissions",
                   [](UpdateToolManager& m) { return m.repairQMToolPermissions("n"); },
                   "repairpermissionsother n", 0},
        CommandRow{"Bundle", [](UpdateToolManager& m) { return m.repairBundleUsingPackage("/p"); },
                   "repairpackage /p", 0},
        CommandRow{"Framework",
                   [](UpdateToolManager& m) { return m.repairFrameworkUsingPackage("/p"); },
                   "repairpackage /p", 0},
        CommandRow{"ToolRoot", [](UpdateToolManager& m) { return m.repairQMToolRoot("/p", "/s"); },
                   "repairotherroot /p /s", 0},
        CommandRow{"ToolRootPermissions",
                   [](UpdateToolManager& m) { return m.repairQMToolRootPermissions("n"); },
                   "repairpermissionsotherroot n", 0},
        CommandRow{"ZipItem",
                   [](UpdateToolManager& m) { return m.repairZIPArchive("/a", "/s", "/i"); },
                   "repairzipitem /a /s /i", 0},
        CommandRow{
            "ZipItemWithoutInstallPath",
            [](UpdateToolManager& m) { return m.repairZIPArchive("/a", "/s", std::nullopt); },
            "repairzipitem /a /s", 0},
        CommandRow{"Intel", [](UpdateToolManager& m) { return m.repairIntel10_5("/p", "/s"); },
                   "repairintel10_5 /p /s", 0},
        CommandRow{"ClientUpdate",
                   [](UpdateToolManager& m) { return m.installClientUpdate("/p", "/s", "/i"); },
                   "applyfullupdate /p /s /i", 0},
        CommandRow{"MonoKeypairs",
                   [](UpdateToolManager& m) { return m.repairMonoKeypairPermissions(); },
                   "fixmonokeypairs /Users/jo/.config/.mono/keypairs", 5}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace quillmore::tests
