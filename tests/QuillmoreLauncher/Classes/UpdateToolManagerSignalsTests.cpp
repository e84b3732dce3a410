// Signals that come while a tool runs: they wait for its end.
#include "Platform/Processes/TerminationSignals.h"
#include "QuillmoreLauncher/Classes/UpdateToolManager.h"
#include "tests/Platform/Processes/ForkedProcess.h"
#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {
namespace {

class UpdateToolSignals : public LauncherFixture {
protected:
    static UpdateToolManager& tool() { return UpdateToolManager::sharedManager(); }
    /// What a tool does here: the launcher gets a signal, then the tool's work is done.
    void work() {
        signalSelf(SIGTERM);
        [[maybe_unused]] const auto count = ::write(pipe.writeEnd().get(), "done", 4);
    }
    void expectWorkDoneBeforeTheEnd(const std::function<void()>& run) {
        ForkedProcess process([&]() -> int {
            platform::watchTerminationSignals([](int number) { ::_exit(100 + number); });
            run();
            for (;;) ::pause();
        });
        pipe.writeEnd().reset();
        EXPECT_EQ(pipe.readToEnd(), "done");
        EXPECT_EQ(process.exitStatus(), 100 + SIGTERM);
    }
    platform::Pipe pipe;
};

TEST_F(UpdateToolSignals, RunOfTheUpdateToolIsNotCut) {
    services.processes.teach(kUpdateTool, {"", {}, [this](const auto&) { work(); }});
    expectWorkDoneBeforeTheEnd([] { tool().repairBundleUsingPackage("/p"); });
}

TEST_F(UpdateToolSignals, StartWithAdministratorRightsIsNotCut) {
    services.authorization.onExecute = [this] { work(); };
    expectWorkDoneBeforeTheEnd([] { tool().repairUpdateTool("/r", "/s"); });
}

TEST_F(UpdateToolSignals, RunOfTheFinderOverlayToolIsNotCut) {
    services.processes.teach(kOverlayTool, {"", {}, [this](const auto&) { work(); }});
    expectWorkDoneBeforeTheEnd([] { tool().insertFinderOverlayBundle(); });
}

}  // namespace
}  // namespace quillmore::tests
