// A child process with mounts of its own, for tests that need a second volume.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace quillmore::tests {

inline constexpr int kNoMountsHere = 77;

/// An ordinary user is root in a namespace of his own, where the system allows it.
inline bool takeOwnMounts() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    if (user != 0) {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

inline bool mountVolume(const std::string& folder, const char* options = "size=1m") {
    return ::mount("volume", folder.c_str(), "tmpfs", 0, options) == 0;
}

/// What the child said: 0 when the body was true there, `kNoMountsHere` when it never ran.
template <class Body>
int statusWithOwnMounts(Body body) {
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        const int status = takeOwnMounts() ? (body() ? 0 : 1) : kNoMountsHere;
        std::fflush(nullptr);
        ::_exit(status);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

/// A condition of a body, named when it does not hold.
#define HOLDS(condition) \
    ((condition) || (std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition), false))

#define EXPECT_WITH_OWN_MOUNTS(body)                                                         \
    do {                                                                                     \
        const int status_ = statusWithOwnMounts(body);                                       \
        if (status_ == kNoMountsHere)                                                        \
            GTEST_SKIP() << "neither root nor allowed to make a user namespace with mounts"; \
        EXPECT_EQ(status_, 0);                                                               \
    } while (false)

}  // namespace quillmore::tests
