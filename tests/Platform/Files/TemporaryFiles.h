// A file manager rooted in a temporary folder, with short ways to fill the folder and look at it,
// and a child process that no permission is waived for.
#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {

class TemporaryFiles : public TemporaryRoot {
public:
    TemporaryFiles() = default;
    TemporaryFiles(const TemporaryFiles&) = delete;
    TemporaryFiles& operator=(const TemporaryFiles&) = delete;
    /// Takes away what a test has closed even to its owner, too.
    ~TemporaryFiles() { (void)platform::FileManager().removeItem(root.path()); }

    void makeLink(const std::string& path, const std::string& target) const {
        std::filesystem::create_symlink(target, host(path));
    }
    struct stat status(const std::string& path) const {
        struct stat found = {};
        EXPECT_EQ(::lstat(host(path).c_str(), &found), 0) << path;
        return found;
    }
    mode_t mode(const std::string& path) const { return status(path).st_mode & 07777; }
    bool exists(const std::string& path) const {
        struct stat found = {};
        return ::lstat(host(path).c_str(), &found) == 0;
    }
    std::size_t count(const std::string& path) const {
        const std::filesystem::directory_iterator entries(host(path));
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
    /// True when the body is true in a child process with an ordinary user's rights; run as root it
    /// takes those of another account, which then owns the folder and what is in it now.
    template <class Body>
    bool holdsForOrdinaryUser(Body body) const {
        constexpr uid_t kNobody = 65534;
        if (::geteuid() == 0) handOver(kNobody);
        const pid_t child = ::fork();
        if (child == 0) {
            const bool ready = ::geteuid() != 0 || ::setuid(kNobody) == 0;
            ::_exit(ready && body() ? 0 : 1);
        }
        int status = 1;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    void handOver(uid_t user) const {
        EXPECT_EQ(::lchown(root.path().c_str(), user, user), 0);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root.path())) {
            const mode_t mode = status(entry.path().string().substr(root.path().size())).st_mode;
            EXPECT_EQ(::lchown(entry.path().c_str(), user, user), 0);
            if (!S_ISLNK(mode)) ::chmod(entry.path().c_str(), mode & 07777);
        }
    }
};

/// Lowers a limit of this process while it lives.
class LoweredLimit {
public:
    using Resource = decltype(RLIMIT_FSIZE);
    LoweredLimit(Resource resource, rlim_t limit) : resource_(resource) {
        ::getrlimit(resource_, &before_);
        rlimit lowered = before_;
        lowered.rlim_cur = limit;
        ::setrlimit(resource_, &lowered);
        formerHandler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~LoweredLimit() {
        ::setrlimit(resource_, &before_);
        std::signal(SIGXFSZ, formerHandler_);
    }
    LoweredLimit(const LoweredLimit&) = delete;
    LoweredLimit& operator=(const LoweredLimit&) = delete;

private:
    Resource resource_;
    rlimit before_ = {};
    void (*formerHandler_)(int) = SIG_DFL;
};

}  // namespace quillmore::tests
