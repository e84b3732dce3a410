// Runs with administrator rights, and the Finder overlay tool.
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kAsk = "copyRights system.privilege.admin 19";

class UpdateToolAsAdmin : public LauncherFixture {
protected:
    static UpdateToolManager& tool() { return UpdateToolManager::sharedManager(); }
    FakeAuthorization& authorization() { return services.authorization; }
};

TEST_F(UpdateToolAsAdmin, RunsTheInstalledTool) {
    EXPECT_EQ(tool().runUpdateToolAsAdmin({"a", "b"}), 0);
    EXPECT_THAT(
        authorization().calls,
        ElementsAre("create", kAsk, std::string("execute ") + kUpdateTool + " a b", "free"));
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
    EXPECT_THAT(logLines(), ElementsAre("(nrm) UpdateToolManager:runUpdateToolAsAdmin: Starting...",
                                        "(nrm) UpdateToolManager:runUpdateToolAsAdmin: Succeeded"));
}

TEST_F(UpdateToolAsAdmin, RunsAToolThatIsNotInstalledYet) {
    EXPECT_EQ(tool().runUninstalledUpdateToolAsAdmin("/r/updateqm", {"a"}), 0);
    EXPECT_THAT(authorization().calls,
                ElementsAre("create", kAsk, "execute /r/updateqm a", "free"));
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
    EXPECT_THAT(logLines(),
                ElementsAre("(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Starting...",
                            "(dtl) Running /r/updateqm",
                            "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Succeeded"));
}

TEST_F(UpdateToolAsAdmin, StartedToolLeavesNoZombie) {
    tool().runUpdateToolAsAdmin({});
    EXPECT_THAT(services.processes.abandoned, ElementsAre(4711));
}

TEST_F(UpdateToolAsAdmin, WithoutAReferenceItFailsSilently) {
    authorization().createStatus = platform::kAuthorizationInternal;
    EXPECT_EQ(tool().runUpdateToolAsAdmin({}), UpdateToolStatusFailed);
    EXPECT_EQ(tool().runUninstalledUpdateToolAsAdmin("/r", {}), UpdateToolStatusFailed);
    EXPECT_THAT(authorization().calls, ElementsAre("create", "create"));
    EXPECT_EQ(tool().status(), UpdateToolStatusUnknown);
    EXPECT_THAT(
        logLines(),
        ElementsAre("(nrm) UpdateToolManager:runUpdateToolAsAdmin: Starting...",
                    "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Starting..."));
}

TEST_F(UpdateToolAsAdmin, RefusedRightFailsAndLeavesTheStatus) {
    authorization().copyRightsStatus = platform::kAuthorizationDenied;
    EXPECT_EQ(tool().runUpdateToolAsAdmin({}), UpdateToolStatusFailed);
    EXPECT_THAT(authorization().calls, ElementsAre("create", kAsk, "free"));
    EXPECT_EQ(tool().status(), UpdateToolStatusUnknown);
    EXPECT_THAT(logLines(),
                ElementsAre("(nrm) UpdateToolManager:runUpdateToolAsAdmin: Starting...",
                            "(ERR) UpdateToolManager:runUpdateToolAsAdmin: AuthorizationCopyRights "
                            "failed (OSStatus -60005)"));
}

TEST_F(UpdateToolAsAdmin, RefusedExecutionFails) {
    authorization().executeStatus = platform::kAuthorizationToolExecuteFailure;
    EXPECT_EQ(tool().runUpdateToolAsAdmin({}), UpdateToolStatusFailed);
    EXPECT_EQ(authorization().calls.back(), "free");
    EXPECT_EQ(tool().status(), UpdateToolStatusFailed);
    EXPECT_THAT(services.processes.abandoned, IsEmpty());
    EXPECT_EQ(logLines().back(),
              "(ERR) UpdateToolManager:runUpdateToolAsAdmin: AuthorizationExecuteWithPrivileges "
              "failed (OSStatus -60031)");
}

TEST_F(UpdateToolAsAdmin, LinesOfTheUninstalledToolCarryItsMethod) {
    const std::string method = "UpdateToolManager:runUninstalledUpdateToolAsAdmin: ";
    authorization().copyRightsStatus = platform::kAuthorizationCanceled;
    tool().runUninstalledUpdateToolAsAdmin("/r", {});
    EXPECT_THAT(logLines(), ElementsAre("(nrm) " + method + "Starting...",
                                        "(ERR) " + method +
                                            "AuthorizationCopyRights failed (OSStatus -60006)"));
    authorization().copyRightsStatus = 0;
    authorization().executeStatus = platform::kAuthorizationInternal;
    tool().runUninstalledUpdateToolAsAdmin("/r", {});
    EXPECT_THAT(logLines(),
                ElementsAre("(nrm) " + method + "Starting...", "(dtl) Running /r",
                            "(ERR) " + method +
                                "AuthorizationExecuteWithPrivileges failed (OSStatus -60008)"));
}

TEST_F(UpdateToolAsAdmin, EveryReferenceIsFreed) {
    tool().runUpdateToolAsAdmin({});
    authorization().executeStatus = -1;
    tool().runUpdateToolAsAdmin({});
    authorization().copyRightsStatus = -1;
    tool().runUpdateToolAsAdmin({});
    EXPECT_EQ(authorization().alive, 0);
}

TEST_F(UpdateToolAsAdmin, RepairInstallsTheCopyInTheResources) {
    EXPECT_EQ(tool().repairUpdateTool("/r/updateqm", "/r/updateqm.sig"), 0);
    EXPECT_THAT(authorization().calls,
                ElementsAre("create", kAsk, "execute /r/updateqm repair /r/updateqm.sig", "free"));
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
    EXPECT_EQ(logLines().at(1),
              "(nrm) UpdateToolManager:runUninstalledUpdateToolAsAdmin: Starting...");
    EXPECT_THAT(services.processes.started, IsEmpty());
}

TEST_F(UpdateToolAsAdmin, RepairLogsTheSignature) {
    tool().repairUpdateTool("/r/updateqm", "/r/updateqm.sig");
    EXPECT_EQ(logLines().at(0), "(dtl) updateQMSignaturePath is /r/updateqm.sig");
}

TEST_F(UpdateToolAsAdmin, CancelledRepairLeavesTheStatusRunning) {
    authorization().copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_EQ(tool().repairUpdateTool("/r", "/s"), UpdateToolStatusFailed);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
}

TEST_F(UpdateToolAsAdmin, FailedRepairSetsTheStatusFailed) {
    authorization().executeStatus = -1;
    EXPECT_EQ(tool().repairUpdateTool("/r", "/s"), UpdateToolStatusFailed);
    EXPECT_EQ(tool().status(), UpdateToolStatusFailed);
}

TEST_F(UpdateToolAsAdmin, PermissionsAreRepairedByTheInstalledTool) {
    EXPECT_EQ(tool().repairPermissions(), 0);
    EXPECT_THAT(authorization().calls,
                ElementsAre("create", kAsk,
                            std::string("execute ") + kUpdateTool + " repairpermissions", "free"));
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
}

TEST_F(UpdateToolAsAdmin, CancelledPermissionRepairLeavesTheStatusRunning) {
    authorization().copyRightsStatus = platform::kAuthorizationCanceled;
    EXPECT_EQ(tool().repairPermissions(), UpdateToolStatusFailed);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
}

// The Finder overlay tool

class FinderOverlayTool : public UpdateToolAsAdmin {
protected:
    void teach(int exitStatus) {
        services.processes.teach(kOverlayTool, {"", {false, exitStatus}, {}});
    }
    const std::string quoted = std::string("\"") + kOverlayTool + "\"";
};

TEST_F(FinderOverlayTool, RunThatSucceeds) {
    teach(0);
    EXPECT_EQ(tool().runFinderOverlayTool({"a"}, true), 0);
    EXPECT_THAT(services.processes.started, ElementsAre(std::string(kOverlayTool) + " a"));
    EXPECT_THAT(logLines(), ElementsAre("(vrb) Running FinderOverlayTool " + quoted + "...",
                                        "(vrb) FinderOverlayTool " + quoted + " did succeed"));
}

TEST_F(FinderOverlayTool, RunThatFails) {
    teach(1);
    EXPECT_EQ(tool().runFinderOverlayTool({}, true), UpdateToolStatusFailed);
    EXPECT_THAT(logLines(), ElementsAre("(vrb) Running FinderOverlayTool " + quoted + "...",
                                        "(vrb) FinderOverlayTool " + quoted + " did fail"));
}

TEST_F(FinderOverlayTool, RunThatIsNotWaitedForCountsAsSuccessful) {
    teach(1);
    EXPECT_EQ(tool().runFinderOverlayTool({}, false), 0);
    EXPECT_EQ(services.processes.abandoned.size(), 1U);
    EXPECT_EQ(logLines().back(), "(vrb) FinderOverlayTool " + quoted + " did succeed");
}

TEST_F(FinderOverlayTool, RunThatCannotBeStartedRaises) {
    EXPECT_THROW(tool().runFinderOverlayTool({}, true), platform::Exception);
}

TEST_F(FinderOverlayTool, InsertsTheOverlay) {
    teach(0);
    EXPECT_EQ(tool().insertFinderOverlayBundle(), 0);
    EXPECT_THAT(services.processes.started,
                ElementsAre(std::string(kOverlayTool) + " insertfinderoverlay"));
    EXPECT_EQ(tool().status(), UpdateToolStatusOK);
}

TEST_F(FinderOverlayTool, FailedInsertionLeavesTheStatusRunning) {
    teach(1);
    EXPECT_EQ(tool().insertFinderOverlayBundle(), UpdateToolStatusFailed);
    EXPECT_EQ(tool().status(), UpdateToolStatusRunning);
}

}  // namespace
}  // namespace quillmore::tests
