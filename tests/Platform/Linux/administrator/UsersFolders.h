// A temporary root folder of root's with things of a user in it, for tests of who may reach what.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "Platform/Linux/Administrator/TreeCopy.h"
#include "Platform/Linux/Administrator/TreeRemoval.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {

/// Numbers without an account: nobody on the machine is meant.
inline constexpr uid_t kUser = 54321;
inline constexpr uid_t kOtherUser = 54322;

class UsersFolders : public testing::Test {
protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "needs root, to have things of others";
        ::chmod(folder_.path().c_str(), 0755);
    }
    std::string at(const std::string& path) const { return folder_.path() + "/" + path; }
    /// Folders that are missing are made, and belong to the owner like the last one.
    std::string makeFolder(const std::string& path, uid_t owner, mode_t mode = 0755) const {
        for (std::size_t end = path.find('/');; end = path.find('/', end + 1)) {
            const std::string part = at(path.substr(0, end));
            if (::mkdir(part.c_str(), 0755) == 0) give(part, owner);
            if (end == std::string::npos) break;
        }
        ::chmod(at(path).c_str(), mode);
        return at(path);
    }
    std::string makeFile(const std::string& path, uid_t owner, mode_t mode = 0644) const {
        std::ofstream(at(path)) << "bytes of " << path;
        give(at(path), owner);
        ::chmod(at(path).c_str(), mode);
        return at(path);
    }
    std::string makeLink(const std::string& path, const std::string& target, uid_t owner) const {
        std::filesystem::create_symlink(target, at(path));
        give(at(path), owner);
        return at(path);
    }
    bool exists(const std::string& path) const {
        return std::filesystem::symlink_status(at(path)).type() !=
               std::filesystem::file_type::not_found;
    }
    struct stat statusOf(const std::string& path) const {
        struct stat status {};
        EXPECT_EQ(::lstat(at(path).c_str(), &status), 0) << path;
        return status;
    }
    int remove(const std::string& path) const {
        platform::administrator::Place place;
        const int error = platform::administrator::openPlace(at(path), place);
        return error != 0 ? error : platform::administrator::removeTree(place);
    }
    int copy(const std::string& from, const std::string& to) const {
        platform::administrator::Place original, copied;
        if (const int error = platform::administrator::openPlace(at(from), original)) return error;
        if (const int error = platform::administrator::openPlace(at(to), copied)) return error;
        return platform::administrator::copyTree(original, copied);
    }

private:
    static void give(const std::string& path, uid_t owner) {
        EXPECT_EQ(::lchown(path.c_str(), owner, owner), 0) << path;
    }
    TemporaryFolder folder_;
};

}  // namespace quillmore::tests
