// Which tools in the product folder were installed with the set-user-ID bit, and which bytes got
// it: "SHA256 NAME" a line. Only those bytes, under that very name, may get the bit back without a
// signature. Lines of another form, which earlier versions wrote, are no receipts. Hold a RunLock
// while one lives.
#pragma once

#include <sys/stat.h>

#include <map>
#include <string>

#include "UpdateTool/Disk/Journal.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class Receipts {
public:
    /// No file means no receipts; a file that is not root's own fails.
    Receipts(const Context& context, int productFolder);

    bool has(const std::string& name) const { return digests_.count(name) != 0; }
    /// Whether a receipt is of that very file, under whatever spelling the volume finds it by.
    bool covers(const struct stat& file) const;
    /// "" when there is no receipt.
    std::string digestOf(const std::string& name) const;
    /// Writes the file at once, atomically; does nothing when nothing changes. `digest` is what to
    /// add; without one nothing is known of the bytes, and there is no receipt.
    void apply(ReceiptChange change, const std::string& name, const std::string& digest);

private:
    const Context& context_;
    int folder_;
    std::map<std::string, std::string> digests_;
};

}  // namespace quillmore::updatetool
