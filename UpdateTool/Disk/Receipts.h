// Which tools in the product folder were installed with the set-user-ID bit: one name a line. Only
// such a tool may get the bit back without a signature. Hold a RunLock while one lives.
#pragma once

#include <set>
#include <string>

#include "UpdateTool/Disk/Journal.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class Receipts {
public:
    /// No file means no receipts; a file that is not root's own fails.
    Receipts(const Context& context, int productFolder);

    /// Capitals or not: some volumes do not tell them apart.
    bool has(const std::string& name) const;
    /// Writes the file at once, atomically; does nothing when nothing changes.
    void apply(ReceiptChange change, const std::string& name);

private:
    const Context& context_;
    int folder_;
    std::set<std::string> names_;  ///< In small letters.
};

}  // namespace quillmore::updatetool
