#include "UpdateTool/Disk/Receipts.h"

#include <fcntl.h>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/OwnFiles.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using updatetool::ReceiptChange;
using updatetool::Receipts;

const std::string kFile = kProduct + "/.receipts";

class UpdateToolOwnFiles : public UpdateToolMachine {
protected:
    UpdateToolOwnFiles() {
        makeFolder(kProduct);
        product = platform::FileDescriptor(::open(host(kProduct).c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::string refusalOfReading() const {
        return refusalOf([&] { updatetool::readOwnFile(context, product.get(), ".receipts"); });
    }
    void expectNotBelieved(const std::string& what) const {
        EXPECT_EQ(refusalOfReading(),
                  "72: \".receipts\" of the product folder is not a file that only root can have "
                  "written: remove it")
            << what;
    }
    ino_t inodeOfFile() const {
        struct stat status {};
        ::lstat(host(kFile).c_str(), &status);
        return status.st_ino;
    }
    platform::FileDescriptor product;
};
using UpdateToolReceipts = UpdateToolOwnFiles;

TEST_F(UpdateToolOwnFiles, ModeIs0600AndNoOther) {
    makeFile(kFile, "text", 0600);
    EXPECT_EQ(refusalOfReading(), "");
    for (const mode_t mode :
         {0400, 0200, 0700, 0640, 0620, 0610, 0604, 0602, 0601, 01600, 02600, 04600}) {
        makeFile(kFile, "text", mode);
        expectNotBelieved(std::to_string(mode));
    }
}
TEST_F(UpdateToolOwnFiles, SecondNameIsRefused) {
    makeFile(kFile, "text", 0600);
    std::filesystem::create_hard_link(host(kFile), host("/second"));
    expectNotBelieved("second name");
}
TEST_F(UpdateToolOwnFiles, AnothersFileIsRefused) {
    makeFile(kFile, "text", 0600);
    ++context.owner;
    expectNotBelieved("owner");
}
TEST_F(UpdateToolOwnFiles, OnlyPlainFilesAreRead) {
    makeFolder(kFile, 0600);
    expectNotBelieved("folder");
    std::filesystem::remove(host(kFile));
    ASSERT_EQ(::mkfifo(host(kFile).c_str(), 0600), 0);
    expectNotBelieved("FIFO");
    std::filesystem::remove(host(kFile));
    makeFile("/victim", "text", 0600);
    std::filesystem::create_symlink(host("/victim"), host(kFile));
    EXPECT_THAT(refusalOfReading(), HasSubstr("66: \"" + kFile + "\" is a link"));
}
TEST_F(UpdateToolOwnFiles, FileHas1MiBAtMost) {
    makeFile(kFile, std::string(1 << 20, 'x'), 0600);
    EXPECT_EQ(refusalOfReading(), "");
    makeFile(kFile, std::string((1 << 20) + 1, 'x'), 0600);
    expectNotBelieved("size");
}
TEST_F(UpdateToolOwnFiles, WhatIsWrittenIsReadAgainAndNothingElseIsLeft) {
    for (const std::string text : {"one", "", "another"}) {
        updatetool::writeOwnFile(context, product.get(), ".receipts", text);
        EXPECT_EQ(updatetool::readOwnFile(context, product.get(), ".receipts"), text);
        EXPECT_EQ(modeOf(kFile), 0600u);
    }
    updatetool::removeOwnFile(product.get(), ".receipts");
    updatetool::removeOwnFile(product.get(), ".receipts");
    EXPECT_EQ(updatetool::readOwnFile(context, product.get(), ".receipts"), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_empty(host(kProduct)));
}

const std::string kDigest(64, 'd');
const std::string kOther(64, 'e');

TEST_F(UpdateToolReceipts, NoFileMeansNoReceipts) {
    EXPECT_FALSE(Receipts(context, product.get()).has("tool"));
    EXPECT_FALSE(Receipts(context, product.get()).has(""));
}
TEST_F(UpdateToolReceipts, LinesAreWholeNames) {
    makeFile(kFile, kDigest + " tool\n" + kOther + " other\n" + kDigest + " last", 0600);
    const Receipts receipts(context, product.get());
    for (const char* name : {"tool", "other", "last"}) EXPECT_TRUE(receipts.has(name)) << name;
    for (const char* name : {"too", "tools", "tool\nother", ""})
        EXPECT_FALSE(receipts.has(name)) << name;
    EXPECT_EQ(receipts.digestOf("tool") + receipts.digestOf("other"), kDigest + kOther);
}
TEST_F(UpdateToolReceipts, NamesThatDifferInCapitalsAreTwo) {
    makeFile(kFile, kDigest + " tool\n", 0600);
    EXPECT_FALSE(Receipts(context, product.get()).has("Tool"));
    Receipts(context, product.get()).apply(ReceiptChange::add, "Tool", kOther);
    EXPECT_EQ(read(kFile), kOther + " Tool\n" + kDigest + " tool\n");
}
TEST_F(UpdateToolReceipts, FileIsCoveredByTheReceiptThatNamesIt) {
    makeFile(kFile, kDigest + " tool\n", 0600);
    makeFile(kProduct + "/tool", "bytes");
    makeFile(kProduct + "/other", "bytes");
    struct stat tool {
    }, other{};
    ::lstat(host(kProduct + "/tool").c_str(), &tool);
    ::lstat(host(kProduct + "/other").c_str(), &other);
    EXPECT_TRUE(Receipts(context, product.get()).covers(tool));
    EXPECT_FALSE(Receipts(context, product.get()).covers(other));
}
TEST_F(UpdateToolReceipts, LineWithoutADigestIsNoReceipt) {
    makeFile(kFile,
             "tool\n" + kDigest + "\n" + kDigest.substr(1) + " tool\nx" + kDigest.substr(1) +
                 " tool\n" + kDigest + "tool\n",
             0600);
    EXPECT_FALSE(Receipts(context, product.get()).has("tool"));
    Receipts(context, product.get()).apply(ReceiptChange::add, "tool", kDigest);
    EXPECT_EQ(read(kFile), kDigest + " tool\n");
}
TEST_F(UpdateToolReceipts, ReceiptWithoutADigestIsNotWritten) {
    Receipts(context, product.get()).apply(ReceiptChange::add, "tool", kDigest);
    Receipts(context, product.get()).apply(ReceiptChange::add, "tool", "");
    EXPECT_FALSE(exists(kFile));
}
TEST_F(UpdateToolReceipts, ChangesAreKeptInTheFile) {
    Receipts(context, product.get()).apply(ReceiptChange::add, "tool", kDigest);
    Receipts(context, product.get()).apply(ReceiptChange::add, "other", kDigest);
    EXPECT_EQ(read(kFile), kDigest + " other\n" + kDigest + " tool\n");
    Receipts receipts(context, product.get());
    receipts.apply(ReceiptChange::remove, "tool", kDigest);
    EXPECT_EQ(read(kFile), kDigest + " other\n");
    EXPECT_FALSE(receipts.has("tool"));
    EXPECT_TRUE(receipts.has("other"));
}
TEST_F(UpdateToolReceipts, LastReceiptTakesTheFileAlong) {
    Receipts receipts(context, product.get());
    receipts.apply(ReceiptChange::add, "tool", kDigest);
    receipts.apply(ReceiptChange::remove, "tool", kDigest);
    EXPECT_FALSE(exists(kFile));
}
TEST_F(UpdateToolReceipts, FileIsWrittenOnlyWhenSomethingChanges) {
    Receipts receipts(context, product.get());
    receipts.apply(ReceiptChange::remove, "tool", kDigest);
    receipts.apply(ReceiptChange::none, "tool", kDigest);
    EXPECT_FALSE(exists(kFile));
    receipts.apply(ReceiptChange::add, "tool", kDigest);
    const ino_t before = inodeOfFile();
    receipts.apply(ReceiptChange::add, "tool", kDigest);
    receipts.apply(ReceiptChange::none, "tool", kDigest);
    receipts.apply(ReceiptChange::remove, "other", kDigest);
    EXPECT_EQ(inodeOfFile(), before);
    EXPECT_TRUE(receipts.has("tool"));
}

}  // namespace
}  // namespace quillmore::tests
