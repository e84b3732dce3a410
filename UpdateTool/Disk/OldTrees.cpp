#include "UpdateTool/Disk/OldTrees.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/Files/FileDescriptor.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/Staging.h"
#include "UpdateTool/Disk/Targets.h"
#include "UpdateTool/Disk/TreeRemoval.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr std::size_t kMostEntries = 100'000;

/// It stays where root alone can reach it, and no later run has to do with it.
void putAside(const Context& context, int target, const std::string& folder,
              const std::string& name) {
    std::string aside = Staging::kFolderName;
    aside += "." + name.substr(std::string_view(kOldTreePrefix).size());
    if (::renameat(target, name.c_str(), target, aside.c_str()) == 0 && context.audit)
        context.audit("what was replaced could not be removed: remove " +
                      quoted(folder + "/" + aside));
}

void removeOldTree(const Context& context, int target, const std::string& folder,
                   const std::string& name) {
    const FileDescriptor tree = openFolder(target, name);
    // Locked: another run is at it, and this one's caller need not wait for that.
    if (!tree || ::flock(tree.get(), LOCK_EX | LOCK_NB) != 0) return;
    // Twice: it may have failed for a reason that has passed.
    if (!removeTree(context, target, name) && !removeTree(context, target, name))
        putAside(context, target, folder, name);
}

void removeOldTreesIn(const Context& context, const std::string& folder) {
    const FileDescriptor target = openTrustedFolder(context, folder);
    for (const std::string& name : namesIn(target.get(), kMostEntries).value_or(Names()))
        if (name.starts_with(kOldTreePrefix)) removeOldTree(context, target.get(), folder, name);
}

}  // namespace

bool retireStaging(int target) {
    if (::unlinkat(target, Staging::kFolderName, AT_REMOVEDIR) == 0 ||
        ::unlinkat(target, Staging::kFolderName, 0) == 0)
        return true;
    struct stat status {};
    if (!examineEntry(target, Staging::kFolderName, status)) return errno == ENOENT;
    const std::string old = kOldTreePrefix + std::to_string(status.st_ino);
    return ::renameat(target, Staging::kFolderName, target, old.c_str()) == 0;
}

void removeOldTrees(const Context& context) {
    for (const std::string& folder : targetFolders()) {
        try {
            removeOldTreesIn(context, folder);
        } catch (const Failure&) {
            // It is missing, or not root's alone: then nothing was installed there, either.
        }
    }
}

}  // namespace quillmore::updatetool
