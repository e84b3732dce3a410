#include "UpdateTool/Disk/Journal.h"

#include <cstdint>
#include <sstream>

#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/OwnFiles.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

constexpr const char* kFileName = ".journal";
constexpr const char* kFirstLine = "updateqm journal 1";
constexpr const char* kLastLine = "end";
const std::string kNoDigest = "-";
constexpr unsigned kLastReceiptChange = static_cast<unsigned>(ReceiptChange::remove);

[[noreturn]] void failSenseless() {
    fail(EX_OSFILE, "the journal of an interrupted run makes no sense: remove .journal and " +
                        std::string(".quillmore-staging by hand"));
}

std::string textOf(const JournalEntry& entry) {
    // Not by a stream: that would leave out what it has no memory for, and say nothing.
    std::string text = kFirstLine + ("\n" + entry.folder + "\n");
    for (const std::uint64_t number :
         {std::uint64_t{entry.presentFolders}, std::uint64_t{entry.staged},
          static_cast<std::uint64_t>(entry.receipt),
          static_cast<std::uint64_t>(entry.receiptBefore)})
        text += std::to_string(number) + " ";
    text += std::to_string(entry.caller);
    for (const std::string& digest : {entry.digest, entry.digestBefore, entry.replacedDigest})
        text += " " + (digest.empty() ? kNoDigest : digest);
    return text + " " + std::to_string(entry.replacedMode) + "\n" + entry.item + "\n" + kLastLine +
           "\n";
}

std::string takeDigest(std::istream& fields) {
    std::string digest;
    fields >> digest;
    return isDigest(digest) ? digest : "";
}

JournalEntry parse(const std::string& text) {
    std::istringstream lines(text);
    std::string first, numbers, last;
    JournalEntry entry;
    std::getline(lines, first);
    std::getline(lines, entry.folder);
    std::getline(lines, numbers);
    std::getline(lines, entry.item);
    std::getline(lines, last);
    std::istringstream fields(numbers);
    unsigned receipt = 0, before = 0;
    fields >> entry.presentFolders >> entry.staged >> receipt >> before >> entry.caller;
    if (first != kFirstLine || last != kLastLine || !fields || receipt > kLastReceiptChange ||
        before > kLastReceiptChange || !isTargetFolder(entry.folder))
        failSenseless();
    // Earlier versions wrote no more than that: then nothing is known of any bytes.
    entry.digest = takeDigest(fields);
    entry.digestBefore = takeDigest(fields);
    entry.replacedDigest = takeDigest(fields);
    fields >> entry.replacedMode;
    entry.receipt = static_cast<ReceiptChange>(receipt);
    entry.receiptBefore = static_cast<ReceiptChange>(before);
    if (!entry.item.empty()) requirePlainName(entry.item);
    return entry;
}

}  // namespace

void writeJournal(const Context& context, int productFolder, const JournalEntry& entry) {
    writeOwnFile(context, productFolder, kFileName, textOf(entry));
}

std::optional<JournalEntry> readJournal(const Context& context, int productFolder) {
    const auto text = readOwnFile(context, productFolder, kFileName);
    return text ? std::optional(parse(*text)) : std::nullopt;
}

void removeJournal(int productFolder) {
    removeOwnFile(productFolder, kFileName);
}

}  // namespace quillmore::updatetool
