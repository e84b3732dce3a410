#include "Platform/Linux/Administrator/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "Platform/Files/FolderCursor.h"
#include "Platform/Linux/Administrator/Actor.h"
#include "Platform/Linux/Administrator/FolderEntry.h"

namespace quillmore::platform::administrator {

namespace {

/// Every function gives 0 or an error number.
class Removal {
public:
    explicit Removal(bool reachedByUsersLink) : reachedByUsersLink_(reachedByUsersLink) {}

    int remove(int parent, uid_t actor, const std::string& name, int level) {
        FileDescriptor folder;
        const int error = unlinkOrOpen(parent, actor, name, folder);
        if (error != 0 || !folder) return error;
        if (level >= kMostLevels) return ELOOP;
        const int inside = empty(std::move(folder), actor, level);
        const ActingAs acting(actor);
        if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return 0;
        return inside != 0 ? inside : errno;
    }

private:
    static int unlinkOrOpen(int parent, uid_t actor, const std::string& name,
                            FileDescriptor& folder) {
        const ActingAs acting(actor);
        if (::unlinkat(parent, name.c_str(), 0) == 0 || errno == ENOENT) return 0;
        if (errno != EISDIR) return errno;
        folder = openEntry(parent, name, O_DIRECTORY);
        // A folder that its owner closed is to go anyway. As a user only: a link that has taken its
        // place leads to what that user may change.
        if (!folder && errno == EACCES && actor != 0 &&
            ::fchmodat(parent, name.c_str(), S_IRWXU, 0) == 0)
            folder = openEntry(parent, name, O_DIRECTORY);
        return folder ? 0 : errno;
    }
    int empty(FileDescriptor folder, uid_t actor, int level) {
        struct stat status {};
        std::vector<std::string> names;
        if (::fstat(folder.get(), &status) != 0) return errno;
        FileDescriptor list(::fcntl(folder.get(), F_DUPFD_CLOEXEC, 0));
        if (!list) return errno;
        if (const int error = namesInFolder(std::move(list), names); error != 0) return error;
        int first = 0;
        for (const std::string& name : names) {
            const int error = remove(folder.get(), actorIn(status, actor), name, level + 1);
            if (first == 0) first = error;
        }
        return first;
    }
    uid_t actorIn(const struct stat& folder, uid_t actor) const {
        if (actor == 0) return folder.st_uid;
        return folder.st_uid == 0 && !reachedByUsersLink_ ? ownActor() : actor;
    }

    const bool reachedByUsersLink_;
};

}  // namespace

int removeTree(const Place& place) {
    return Removal(place.reachedByUsersLink).remove(place.folder.get(), place.actor, place.name, 0);
}

}  // namespace quillmore::platform::administrator
