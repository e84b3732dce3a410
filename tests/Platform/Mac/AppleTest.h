// Runs the Mac backend against the doubles of the system, and checks at the end of every test that
// each reference, descriptor, buffer and pool was given back once.
#pragma once

#include <gmock/gmock.h>

#include "tests/apple/doubles/EventsDouble.h"
#include "tests/apple/doubles/KernelDouble.h"
#include "tests/apple/doubles/Ledger.h"
#include "tests/apple/doubles/SecurityDouble.h"
#include "tests/apple/doubles/WorkspaceDouble.h"

namespace quillmore::tests {

class AppleTest : public testing::Test {
protected:
    AppleTest() {
        apple::resetLedger();
        apple::resetEventsDouble();
        apple::resetKernelDouble();
        apple::resetSecurityDouble();
        apple::resetWorkspaceDouble();
    }
    ~AppleTest() override {
        EXPECT_THAT(apple::ledger().alive(), testing::IsEmpty()) << "not given back";
        EXPECT_THAT(apple::ledger().problems, testing::IsEmpty());
    }

    static std::vector<std::string>& calls() { return apple::ledger().calls; }
    static void fail(const std::string& function, int status) {
        apple::ledger().failures[function] = status;
    }
};

}  // namespace quillmore::tests
