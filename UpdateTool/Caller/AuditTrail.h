// What was asked of the tool, by whom, and what came of it: a line a run in the system's log and in
// a file of the tool's own, updateqm.log in the system's log folder, which only root reads. When it
// has grown to 256 KiB it becomes updateqm.log.1, and the one before that goes: neither ever takes
// more than twice that, and no link can lead the lines elsewhere.
#pragma once

#include <string>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class AuditTrail {
public:
    static constexpr const char* kFileName = "updateqm.log";
    static constexpr off_t kFullSize = 256 * 1024;

    /// Opens the file as root, before the run gives its rights up. Where the folder is missing or
    /// not root's alone the lines go to the system's log only.
    AuditTrail(const Context& context, const std::string& folder);

    /// At most 4 KiB of it, with "?" for whatever is not printable ASCII.
    void write(const std::string& line) const;

private:
    platform::FileDescriptor file_;
};

}  // namespace quillmore::updatetool
