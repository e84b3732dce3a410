// Removing a user on a thread of its own.
#include "Common/KeyList.h"
#include "Common/UserManager.h"
#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Paths.h"
#include "Platform/Interface/Application.h"
#include "Platform/Ports/Services.h"
#include "Platform/Threads/Thread.h"

namespace quillmore {

namespace {

void removeCacheFolder(const UserManager& users, const std::string& userName) {
    const auto path = users.userCachePath(userName);
    if (!path) return;
    const auto record = users.userWithUserName(userName);
    // The settings are a file that anything may have written: a cache name that is no name would
    // delete what is around the cache.
    if (!platform::isPlainName(platform::stringForKey(record, kUserCacheName).value_or(""))) {
        logError("The cache \"%@\" is not removed: its name is no folder name", path);
        return;
    }
    // Deliberate: a cache that cannot be removed stays.
    static_cast<void>(__QMCurrentThreadFileManager().removeItem(*path));
}

}  // namespace

void UserManager::removeUser(const std::string& userName, bool removeCache,
                             std::shared_ptr<UserRemovalSender> sender) {
    UserRemoval removal{userName, removeCache, std::move(sender)};
    platform::detachNewThread([removal = std::move(removal)] {
        try {
            UserManager().removeUserAsync(removal);
        } catch (const platform::Exception& exception) {
            logErrorException(exception);
        }
    });
}

void UserManager::removeUserAsync(const UserRemoval& removal) {
    // Before the record goes, which says where the cache is.
    if (removal.removecache) removeCacheFolder(*this, removal.username);
    forgetUser(removal.username, false);
    if (removal.sender) {
        platform::services().application->performOnMainThread(
            [sender = removal.sender] { sender->removeUserFinished(); });
    }
}

}  // namespace quillmore
