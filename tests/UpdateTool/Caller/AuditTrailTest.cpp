#include "UpdateTool/Caller/AuditTrail.h"

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using updatetool::AuditTrail;

class UpdateToolAuditTrail : public UpdateToolMachine {
protected:
    UpdateToolAuditTrail() { makeFolder("/logs"); }
    void write(const std::string& line) const { AuditTrail(context, "/logs").write(line); }
    const std::string log = "/logs/updateqm.log";
};

TEST_F(UpdateToolAuditTrail, LinesAreAppendedToAFileOfTheOwnersAlone) {
    write("one");
    write("two");
    EXPECT_EQ(modeOf(log), 0600u);
    EXPECT_THAT(read(log), testing::MatchesRegex("20.*Z updateqm.*: one\n20.*: two\n"));
}
TEST_F(UpdateToolAuditTrail, FullFileIsPutAsideAndTheOneBeforeGoes) {
    const std::string full(AuditTrail::kFullSize, 'x');
    makeFile(log, full, 0600);
    makeFile(log + ".1", "older", 0600);
    write("new");
    EXPECT_EQ(read(log + ".1"), full);
    EXPECT_LT(read(log).size(), 100u);
}
TEST_F(UpdateToolAuditTrail, LinkInItsPlaceIsNotFollowed) {
    makeFile("/victim", "precious", 0600);
    std::filesystem::create_symlink(host("/victim"), host(log));
    write("line");
    std::filesystem::remove(host(log));
    std::filesystem::create_hard_link(host("/victim"), host(log));
    write("line");
    EXPECT_EQ(read("/victim"), "precious");
}
TEST_F(UpdateToolAuditTrail, RunsThatEndAtOnceMakeItNoLongerThanItMayBe) {
    std::vector<std::unique_ptr<AuditTrail>> opened;
    for (int run = 0; run < 300; ++run)
        opened.push_back(std::make_unique<AuditTrail>(context, "/logs"));
    for (const auto& trail : opened) trail->write(std::string(4000, 'x'));
    EXPECT_GT(read(log).size(), std::size_t{AuditTrail::kFullSize});
    EXPECT_LT(read(log).size(), std::size_t{2 * AuditTrail::kFullSize + 5000});
}
TEST_F(UpdateToolAuditTrail, OnlyPrintableTextGetsIntoIt) {
    write("a\nb\x1b[2J\xc2\x9bJ\x7f~");
    EXPECT_THAT(read(log), testing::EndsWith(": a?b?[2J??J?~\n"));
}
TEST_F(UpdateToolAuditTrail, LongLineIsCut) {
    write(std::string(100'000, 'x'));
    EXPECT_LT(read(log).size(), 5000u);
}

}  // namespace
}  // namespace quillmore::tests
