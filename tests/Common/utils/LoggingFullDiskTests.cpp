// Lines that do not fit on the disk.
#include "tests/Common/LogTest.h"
#include "tests/Platform/Files/TemporaryFiles.h"

namespace quillmore::tests {
namespace {

using LoggingFullDisk = LogTest;

TEST_F(LoggingFullDisk, LineAfterACutOneBeginsOnItsOwn) {
    configure("normal", "error");
    const std::string whole = line("(nrm)", "cut in the middle");
    const std::string cut = whole.substr(0, whole.size() - 10);
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, cut.size());
        logNormal("cut in the middle");
        logNormal("nothing of this one fits");
    }
    logNormal("next");
    logNormal("after");
    EXPECT_EQ(logFile(), cut + "\n" + line("(nrm)", "next") + line("(nrm)", "after"));
}

TEST_F(LoggingFullDisk, LineThatDidNotFitAtAllLeavesNoEmptyOne) {
    configure("normal", "error");
    const std::string first = line("(nrm)", "first");
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, first.size());
        logNormal("first");
        logNormal("nothing of this one fits");
    }
    logNormal("next");
    EXPECT_EQ(logFile(), first + line("(nrm)", "next"));
}

}  // namespace
}  // namespace quillmore::tests
