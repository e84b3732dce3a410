// Writes the entries of an archive below a folder that only root can change: each file and folder
// is made new, gets its owner and mode by descriptor, and is on disk at the end.
#pragma once

#include <string>
#include <vector>

#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Ground/ArchiveEntries.h"
#include "UpdateTool/Ground/Context.h"

namespace quillmore::updatetool {

class TreeWriter {
public:
    /// `folder` stays the caller's and outlives the writer.
    TreeWriter(const Context& context, int folder, const Target& target)
        : context_(context), folder_(folder), target_(target) {}

    /// Fails (EX_DATAERR) for a file that is not as long as its entry says, (EX_CANTCREAT) for what
    /// cannot be written, or is there already.
    void take(const ArchiveEntry& entry, const ReadBlock& read);
    /// Call after the last entry: waits until the folders are on disk.
    void finish() const;

private:
    void makeFolder(int parent, const std::string& name, const std::string& path);
    void makeLink(int parent, const std::string& name, const ArchiveEntry& entry) const;
    void makeFile(int parent, const std::string& name, const ArchiveEntry& entry,
                  const ReadBlock& read) const;
    mode_t modeOf(const ArchiveEntry& entry) const;

    const Context& context_;
    int folder_;
    const Target& target_;
    std::vector<std::string> folders_;
};

}  // namespace quillmore::updatetool
