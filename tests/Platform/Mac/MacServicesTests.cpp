#include "Platform/Mac/MacServices.h"

#include "Platform/Ports/Services.h"
#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

class MacServices : public AppleTest {};

TEST_F(MacServices, EveryPortOfTheSystemGetsItsBody) {
    platform::Services services;
    platform::MacServices bodies;
    bodies.fillIn(services);
    EXPECT_NE(dynamic_cast<platform::MacAppleEvents*>(services.appleEvents), nullptr);
    EXPECT_NE(dynamic_cast<platform::MacAuthorization*>(services.authorization), nullptr);
    EXPECT_NE(dynamic_cast<platform::MacKeychain*>(services.keychain), nullptr);
    EXPECT_NE(dynamic_cast<platform::MacScriptRunner*>(services.scriptRunner), nullptr);
    EXPECT_NE(dynamic_cast<platform::MacSystemInformation*>(services.systemInformation), nullptr);
    EXPECT_NE(dynamic_cast<platform::MacWorkspace*>(services.workspace), nullptr);
}

TEST_F(MacServices, GatheringThemAsksTheSystemNothing) {
    platform::Services services;
    platform::MacServices bodies;
    bodies.fillIn(services);
    EXPECT_THAT(calls(), testing::IsEmpty());
}

}  // namespace
}  // namespace quillmore::tests
