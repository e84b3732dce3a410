#include "Platform/Linux/Administrator/Place.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <deque>

#include "Platform/Linux/Administrator/Actor.h"

namespace quillmore::platform::administrator {

namespace {

constexpr int kMostLinks = 40;  // as the system has it
constexpr int kWayFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;

using Components = std::deque<std::string>;

Components componentsOf(const std::string& path) {
    Components components;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (end > start) components.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return components;
}

bool isPlain(const std::string& path) {
    if (!path.starts_with('/') || path.size() >= PATH_MAX) return false;
    for (std::size_t start = 1; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string component = path.substr(start, end - start);
        if (component.empty() || component == "." || component == "..") return false;
        start = end + 1;
    }
    return true;
}

/// Every function gives 0 or an error number.
class Walk {
public:
    int run(const std::string& path, Place& place) {
        rest_ = componentsOf(path);
        place.name = rest_.back();
        rest_.pop_back();
        int error = goToRoot();
        while (error == 0 && !rest_.empty()) {
            const std::string name = rest_.front();
            rest_.pop_front();
            error = step(name);
        }
        place.folder = std::move(here_);
        place.actor = actor_;
        place.reachedByUsersLink = byUsersLink_;
        return error;
    }

private:
    int goToRoot() {
        FileDescriptor root(::open("/", kWayFlags | O_DIRECTORY));
        struct stat status {};
        if (!root || ::fstat(root.get(), &status) != 0) return errno;
        return arrive(std::move(root), status);
    }
    int step(const std::string& name) {
        const ActingAs acting(actor_);
        FileDescriptor entry(::openat(here_.get(), name.c_str(), kWayFlags));
        struct stat status {};
        if (!entry || ::fstat(entry.get(), &status) != 0) return errno;
        if (S_ISLNK(status.st_mode)) return follow(entry.get());
        return S_ISDIR(status.st_mode) ? arrive(std::move(entry), status) : ENOTDIR;
    }
    int follow(int link) {
        if (++links_ > kMostLinks) return ELOOP;
        if (actor_ == 0 && (status_.st_mode & (S_IWGRP | S_IWOTH)) != 0) return ELOOP;
        if (actor_ != 0) byUsersLink_ = true;
        std::string target(PATH_MAX, '\0');
        const ssize_t size = ::readlinkat(link, "", target.data(), target.size());
        if (size <= 0 || size == PATH_MAX) return size < 0 ? errno : ENOENT;
        target.resize(static_cast<std::size_t>(size));
        const Components way = componentsOf(target);
        rest_.insert(rest_.begin(), way.begin(), way.end());
        return target.front() == '/' ? goToRoot() : 0;
    }
    int arrive(FileDescriptor folder, const struct stat& status) {
        if (actor_ == 0)
            actor_ = status.st_uid;
        else if (status.st_uid != 0 && status.st_uid != actor_)
            return EPERM;
        here_ = std::move(folder);
        status_ = status;
        return 0;
    }

    Components rest_;
    FileDescriptor here_;
    struct stat status_ {};
    uid_t actor_ = ownActor();
    bool byUsersLink_ = false;
    int links_ = 0;
};

}  // namespace

int openPlace(const std::string& path, Place& place) {
    return isPlain(path) ? Walk().run(path, place) : EINVAL;
}

}  // namespace quillmore::platform::administrator
