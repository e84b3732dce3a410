#include "UpdateTool/Disk/Journal.h"

#include <fcntl.h>

#include "Platform/Files/FileDescriptor.h"
#include "tests/UpdateTool/Refusal.h"
#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;
using updatetool::JournalEntry;
using updatetool::ReceiptChange;

class UpdateToolJournal : public UpdateToolMachine {
protected:
    UpdateToolJournal() {
        makeFolder(kProduct);
        product = platform::FileDescriptor(::open(host(kProduct).c_str(), O_RDONLY | O_CLOEXEC));
    }
    std::optional<JournalEntry> readJournal() const {
        return updatetool::readJournal(context, product.get());
    }
    std::string refusalOfText(const std::string& text) const {
        makeFile(kProduct + "/.journal", text, 0600);
        return refusalOf([this] { readJournal(); });
    }
    const std::string folderLine = kProduct + "\n";
    platform::FileDescriptor product;
};

TEST_F(UpdateToolJournal, WhatIsWrittenIsReadAgain) {
    JournalEntry entry;
    entry.caller = 501;
    entry.folder = kPlugIns;
    entry.presentFolders = 1;
    entry.item = "A b.plugin";
    entry.staged = 18446744073709551615U;
    entry.receipt = ReceiptChange::remove;
    entry.receiptBefore = ReceiptChange::add;
    entry.digestBefore = std::string(64, 'b');
    entry.replacedDigest = std::string(64, 'c');
    entry.replacedMode = 04755;
    updatetool::writeJournal(context, product.get(), entry);
    const auto again = readJournal();
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->caller, entry.caller);
    EXPECT_EQ(again->folder, entry.folder);
    EXPECT_EQ(again->presentFolders, entry.presentFolders);
    EXPECT_EQ(again->item, entry.item);
    EXPECT_EQ(again->staged, entry.staged);
    EXPECT_EQ(again->receipt, entry.receipt);
    EXPECT_EQ(again->receiptBefore, entry.receiptBefore);
    EXPECT_EQ(again->digest, "");
    EXPECT_EQ(again->digestBefore, entry.digestBefore);
    EXPECT_EQ(again->replacedDigest, entry.replacedDigest);
    EXPECT_EQ(again->replacedMode, entry.replacedMode);
    updatetool::removeJournal(product.get());
    EXPECT_FALSE(readJournal().has_value());
}
TEST_F(UpdateToolJournal, EveryLineMakesSense) {
    const std::string first = "updateqm journal 1\n";
    EXPECT_EQ(refusalOfText(first + folderLine + "3 7 2 2 501\ntool\nend\n"), "");
    EXPECT_EQ(refusalOfText(first + folderLine + "3 0 0 0 0\n\nend\n"), "");
    for (const std::string& text :
         {std::string(), "updateqm journal 2\n" + folderLine + "3 7 0 0 501\ntool\nend\n",
          first + "/etc\n3 7 0 0 501\ntool\nend\n", first + folderLine + "3 7 3 0 501\ntool\nend\n",
          first + folderLine + "3 7 0 3 501\ntool\nend\n",
          first + folderLine + "3 7 0 0\ntool\nend\n", first + folderLine + "x\ntool\nend\n",
          first + folderLine + "3 7 0 0 501\ntool\nen\n",
          first + folderLine + "3 7 0 0 501\ntool\n", first + folderLine + "3 7 0 0 501\n"})
        EXPECT_THAT(refusalOfText(text),
                    HasSubstr("72: the journal of an interrupted run makes no"))
            << text;
}
TEST_F(UpdateToolJournal, EarlierVersionsJournalKnowsNoBytes) {
    ASSERT_EQ(refusalOfText("updateqm journal 1\n" + folderLine + "3 7 1 1 501\ntool\nend\n"), "");
    const auto entry = readJournal();
    EXPECT_EQ(entry->caller, 501u);
    EXPECT_EQ(entry->digest + entry->digestBefore + entry->replacedDigest, "");
    EXPECT_EQ(entry->replacedMode, 0u);
}
TEST_F(UpdateToolJournal, ItemIsAPlainName) {
    for (const char* item : {"../tool", ".receipts", "a/b", "/etc/passwd"})
        EXPECT_THAT(
            refusalOfText("updateqm journal 1\n" + folderLine + "3 7 0 0 501\n" + item + "\nend\n"),
            HasSubstr("is not allowed"))
            << item;
}

}  // namespace
}  // namespace quillmore::tests
