#include "UpdateTool/Disk/DenyList.h"

#include <fcntl.h>

#include "Platform/Files/FileDescriptor.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::StartsWith;

class UpdateToolDenyList : public UpdateToolMachine {
protected:
    UpdateToolDenyList() {
        makeFolder(kProduct);
        product = platform::FileDescriptor(::open(host(kProduct).c_str(), O_RDONLY | O_CLOEXEC));
    }
    void list(const std::string& text, mode_t mode = 0644) const {
        makeFile(kProduct + "/updateqm.deny", text, mode);
    }
    std::string refusal(const std::string& name) const {
        return refusalOf(
            [&] { updatetool::requireAllowed(context, product.get(), kProduct, name); });
    }
    platform::FileDescriptor product;
};

TEST_F(UpdateToolDenyList, NoListForbidsNothingButItself) {
    EXPECT_EQ(refusal("tool"), "");
    for (const char* name : {"updateqm.deny", "UpdateQM.Deny"})
        EXPECT_EQ(refusal(name), std::string("77: an administrator forbids to change \"") + name +
                                     "\" (updateqm.deny)");
}
TEST_F(UpdateToolDenyList, LinesAreNamesOrPathsCapitalsOrNot) {
    list("# tools\n\n  Tool \t\r\n" + kProduct + "/other\n/elsewhere/third\nlast");
    for (const char* name : {"tool", "TOOL", "other", "last"})
        EXPECT_THAT(refusal(name), StartsWith("77: an administrator forbids")) << name;
    for (const char* name : {"third", "tools", "to", "elsewhere"}) EXPECT_EQ(refusal(name), "");
}
TEST_F(UpdateToolDenyList, RemarkAfterANameAndASlashAfterAPathDoNotHideThem) {
    list("tool # of last year\nnumber#1\n" + kProduct + "/other/  # both\n");
    for (const char* name : {"tool", "number#1", "other"})
        EXPECT_THAT(refusal(name), StartsWith("77: an administrator forbids")) << name;
    EXPECT_EQ(refusal("number"), "");
}
TEST_F(UpdateToolDenyList, ListThatOthersCouldHaveWrittenForbidsEverything) {
    for (const mode_t mode : {0666, 0664, 0646}) {
        list("other\n", mode);
        EXPECT_THAT(refusal("tool"), StartsWith("78: \"updateqm.deny\" of the product folder"));
    }
    list("other\n");
    EXPECT_EQ(refusal("tool"), "");
    std::filesystem::create_hard_link(host(kProduct + "/updateqm.deny"), host("/second"));
    EXPECT_THAT(refusal("tool"), StartsWith("78: "));
    std::filesystem::remove(host(kProduct + "/updateqm.deny"));
    std::filesystem::create_symlink(host("/second"), host(kProduct + "/updateqm.deny"));
    EXPECT_THAT(refusal("tool"), StartsWith("78: "));
}
TEST_F(UpdateToolDenyList, ListHas1MiBAtMost) {
    list(std::string(1 << 20, '\n'));
    EXPECT_EQ(refusal("tool"), "");
    list(std::string((1 << 20) + 1, '\n'));
    EXPECT_THAT(refusal("tool"), StartsWith("78: "));
}

}  // namespace
}  // namespace quillmore::tests
