#include "Platform/Ports/Services.h"
#include "Platform/Processes/Executable.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

TEST(LinuxServices, FillInEveryPortAndNothingElse) {
    const platform::FileManager files;
    FakeProcessSpawner processes;
    const auto system = platform::makeSystemServices(
        {files, processes, "/nowhere", "/nowhere", platform::ignoredProblems()});
    platform::Services services;
    system->fillIn(services);
    EXPECT_NE(services.appleEvents, nullptr);
    EXPECT_NE(services.authorization, nullptr);
    EXPECT_NE(services.keychain, nullptr);
    EXPECT_NE(services.scriptRunner, nullptr);
    EXPECT_NE(services.systemInformation, nullptr);
    EXPECT_NE(services.workspace, nullptr);
    EXPECT_EQ(services.userInterface, nullptr);
    EXPECT_EQ(services.clock, nullptr);
}

TEST(LinuxServices, RunningProgramKnowsWhereItLies) {
    const auto path = platform::executablePathOfThisProcess();
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(::access(path->c_str(), X_OK), 0);
    EXPECT_EQ(path->front(), '/');
}

}  // namespace
}  // namespace quillmore::tests
