// A repair run step by step: in which order, and what it keeps its hands off.
#include "tests/QuillmoreLauncher/Classes/SelfRepairFixture.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Tells when somebody sleeps.
class ListeningClock final : public platform::Clock {
public:
    explicit ListeningClock(std::function<void(double)> onSleep) : onSleep_(std::move(onSleep)) {}
    WallTime now() const override { return {}; }
    void sleepFor(Seconds duration) override { onSleep_(duration.count()); }

private:
    std::function<void(double)> onSleep_;
};

class RepairSteps : public SelfRepair {
protected:
    RepairSteps() {
        services.set.clock = &clock;
        services.authorization.onExecute = [this] { note("update tool"); };
        const auto command = [this](const platform::ProcessRequest& request) {
            note(request.arguments.at(0));
        };
        services.processes.teach(kUpdateTool, {"", {}, command});
    }
    /// A step, while nothing has been handed to the main thread yet.
    void note(const std::string& step) {
        EXPECT_EQ(services.application.queued(), 0U) << step;
        steps.push_back(step);
    }
    std::vector<std::string> steps;
    ListeningClock clock{[this](double seconds) { note("sleep " + std::to_string(seconds)); }};
};

TEST_F(RepairSteps, HaveTheirOrder) {
    services.system.setSystemVersion(10, 5, 8);
    services.system.setIntel();
    check({core(), package(), updateTool()});
    run();
    EXPECT_THAT(steps, ElementsAre("update tool", "sleep 2.000000", "repaircore", "repairpackage",
                                   "repairintel10_5", "sleep 2.000000"));
    EXPECT_EQ(services.application.queued(), 1U);
}

TEST_F(SelfRepair, RunLeavesTheInterfaceAndTheStatusesToTheMainThread) {
    for (const int exitStatus : {0, 1}) {
        services.processes.teach(kUpdateTool, {"", {false, exitStatus}, {}});
        services.makeResource("core", std::string("x"), 0700);
        check({core(), updateTool()});
        services.makeResource("core", std::string("x"), 0755);  // as a new check would find
        manager().runSelfRepairThread();
        EXPECT_THAT(state().requiredItemsStatusList, ElementsAre("Wrong Permissions", "Missing"));
        EXPECT_EQ(state().numberRepairsRequired, 2);
        EXPECT_THAT(services.userInterface.presented, IsEmpty());
        EXPECT_THAT(services.userInterface.alertSheets, IsEmpty());
        EXPECT_THAT(services.userInterface.openSheets, IsEmpty());
    }
    EXPECT_EQ(services.application.queued(), 2U);
}

}  // namespace
}  // namespace quillmore::tests
