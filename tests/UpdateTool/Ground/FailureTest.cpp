#include "UpdateTool/Ground/Failure.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/UpdateTool/Refusal.h"

namespace quillmore::tests {
namespace {

using updatetool::quoted;

TEST(UpdateToolFailure, TextAndStatusAreTheOnesItWasGiven) {
    EXPECT_EQ(refusalOf([] { updatetool::fail(EX_DATAERR, "it is damaged"); }),
              "65: it is damaged");
}
TEST(UpdateToolFailure, SystemErrorIsToldInTheSystemsWords) {
    EXPECT_EQ(refusalOf([] {
                  errno = ENOENT;
                  updatetool::failWithSystemError(EX_NOINPUT, "cannot open it");
              }),
              "66: cannot open it: No such file or directory");
}
TEST(UpdateToolFailure, QuotationReplacesWhatMisleads) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const bool isMisleading = code < 0x20 || code == 0x7f || c == '"';
        EXPECT_EQ(quoted(std::string("a") + c + "b"),
                  std::string("\"a") + (isMisleading ? '?' : c) + "b\"")
            << code;
    }
}
TEST(UpdateToolFailure, QuotationIsCutAfter1024Bytes) {
    EXPECT_EQ(quoted(std::string(1024, 'x')), '"' + std::string(1024, 'x') + '"');
    EXPECT_EQ(quoted(std::string(1025, 'x')), '"' + std::string(1024, 'x') + "...\"");
}

}  // namespace
}  // namespace quillmore::tests
