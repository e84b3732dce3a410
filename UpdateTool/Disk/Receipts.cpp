#include "UpdateTool/Disk/Receipts.h"

#include <algorithm>
#include <new>
#include <sstream>

#include "UpdateTool/Disk/FileDigests.h"
#include "UpdateTool/Disk/OwnFiles.h"
#include "UpdateTool/Disk/VolumeEntries.h"

namespace quillmore::updatetool {

namespace {
constexpr const char* kFileName = ".receipts";
}  // namespace

Receipts::Receipts(const Context& context, int productFolder)
    : context_(context), folder_(productFolder) {
    std::istringstream lines(readOwnFile(context, folder_, kFileName).value_or(""));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t blank = std::min(line.find(' '), line.size());
        const std::string digest = line.substr(0, blank);
        if (isDigest(digest) && blank < line.size()) digests_[line.substr(blank + 1)] = digest;
    }
    if (lines.bad()) throw std::bad_alloc();  // which a stream keeps to itself
}

bool Receipts::covers(const struct stat& file) const {
    return std::any_of(digests_.begin(), digests_.end(), [&](const auto& receipt) {
        struct stat status {};
        return examineEntry(folder_, receipt.first, status) && status.st_dev == file.st_dev &&
               status.st_ino == file.st_ino;
    });
}

std::string Receipts::digestOf(const std::string& name) const {
    const auto found = digests_.find(name);
    return found == digests_.end() ? "" : found->second;
}

void Receipts::apply(ReceiptChange change, const std::string& name, const std::string& digest) {
    if (change == ReceiptChange::none) return;
    std::map<std::string, std::string> changed = digests_;
    if (change == ReceiptChange::add && !digest.empty()) {
        changed[name] = digest;
    } else {
        changed.erase(name);
    }
    if (changed == digests_) return;
    std::string text;
    for (const auto& [each, itsDigest] : changed) text += itsDigest + " " + each + "\n";
    if (text.empty()) {
        removeOwnFile(folder_, kFileName);
    } else {
        writeOwnFile(context_, folder_, kFileName, text);
    }
    digests_ = std::move(changed);
}

}  // namespace quillmore::updatetool
