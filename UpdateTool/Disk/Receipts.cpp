#include "UpdateTool/Disk/Receipts.h"

#include <new>
#include <sstream>

#include "UpdateTool/Disk/OwnFiles.h"
#include "UpdateTool/Disk/Paths.h"

namespace quillmore::updatetool {

namespace {
constexpr const char* kFileName = ".receipts";
}  // namespace

Receipts::Receipts(const Context& context, int productFolder)
    : context_(context), folder_(productFolder) {
    std::istringstream lines(readOwnFile(context, folder_, kFileName).value_or(""));
    for (std::string line; std::getline(lines, line);) names_.insert(folded(line));
    if (lines.bad()) throw std::bad_alloc();  // which a stream keeps to itself
}

bool Receipts::has(const std::string& name) const {
    return names_.count(folded(name)) != 0;
}

void Receipts::apply(ReceiptChange change, const std::string& name) {
    if (change == ReceiptChange::none || has(name) == (change == ReceiptChange::add)) return;
    std::set<std::string> changed = names_;
    if (change == ReceiptChange::add) {
        changed.insert(folded(name));
    } else {
        changed.erase(folded(name));
    }
    std::string text;
    for (const std::string& each : changed) text += each + "\n";
    if (text.empty()) {
        removeOwnFile(folder_, kFileName);
    } else {
        writeOwnFile(context_, folder_, kFileName, text);
    }
    names_ = std::move(changed);
}

}  // namespace quillmore::updatetool
