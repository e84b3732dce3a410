// The Trash of volumes other than the home folder's, on real mounts.
#include "Platform/Linux/LinuxTrash.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Linux/OwnMounts.h"

namespace quillmore::tests {
namespace {

/// In the child: "/volume" is a volume with an item "/volume/dir/Old.app".
class TrashOfVolume : public testing::Test {
protected:
    TrashOfVolume() {
        disk.makeFolder("/volume");
        disk.makeFolder("/home");
    }
    bool prepare(const char* options = "size=1m") const {
        if (!mountVolume(disk.host("/volume"), options)) return false;
        disk.makeFile("/volume/dir/Old.app/version", "1");
        return true;
    }
    bool recycle() const {
        return platform::LinuxTrash(disk.host("/home/Trash"), ::geteuid())
            .recycle(disk.host("/volume/dir/Old.app"));
    }
    bool isUntouched() const { return disk.read("/volume/dir/Old.app/version") == "1"; }
    /// A Trash of the user that is in a file's place: none can be had.
    void block(const std::string& path) const { disk.makeFile(path, ""); }
    static std::string own() { return "/volume/.Trash-" + std::to_string(::geteuid()); }
    static std::string shared() { return "/volume/.Trash/" + std::to_string(::geteuid()); }

    TemporaryFiles disk;
};

TEST_F(TrashOfVolume, IsMadeAtTheTopForTheUserAloneWithARelativePath) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        return HOLDS(prepare()) && HOLDS(recycle()) && HOLDS(!isUntouched()) &&
               HOLDS(disk.read(own() + "/files/Old.app/version") == "1") &&
               HOLDS(disk.mode(own()) == 0700) &&
               HOLDS(disk.read(own() + "/info/Old.app.trashinfo")
                         .starts_with("[Trash Info]\nPath=dir/Old.app\n"));
    });
}

TEST_F(TrashOfVolume, SharedFolderWithTheStickyBitGoesFirst) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        disk.makeFolder("/volume/.Trash");
        ::chmod(disk.host("/volume/.Trash").c_str(), 01777);
        return HOLDS(recycle()) && HOLDS(disk.exists(shared() + "/files/Old.app")) &&
               HOLDS(disk.mode(shared()) == 0700) && HOLDS(!disk.exists(own()));
    });
}

TEST_F(TrashOfVolume, SharedFolderWithoutTheStickyBitIsPassedOver) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        disk.makeFolder("/volume/.Trash");
        ::chmod(disk.host("/volume/.Trash").c_str(), 0777);
        return HOLDS(recycle()) && HOLDS(!disk.exists(shared())) &&
               HOLDS(disk.exists(own() + "/files/Old.app"));
    });
}

TEST_F(TrashOfVolume, SharedFolderBehindALinkIsPassedOver) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        disk.makeFolder("/volume/elsewhere");
        ::chmod(disk.host("/volume/elsewhere").c_str(), 01777);
        disk.makeLink("/volume/.Trash", "elsewhere");
        return HOLDS(recycle()) && HOLDS(disk.count("/volume/elsewhere") == 0) &&
               HOLDS(disk.exists(own() + "/files/Old.app"));
    });
}

TEST_F(TrashOfVolume, FolderOfTheUserBehindALinkIsNotUsed) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        disk.makeFolder("/volume/elsewhere");
        disk.makeLink(own(), "elsewhere");
        return HOLDS(recycle()) && HOLDS(disk.count("/volume/elsewhere") == 0) &&
               HOLDS(disk.exists("/home/Trash/files/Old.app"));
    });
}

TEST_F(TrashOfVolume, FolderOfSomebodyElseIsNotUsed) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        disk.makeFolder(own());
        if (!HOLDS(::chown(disk.host(own()).c_str(), 65534, 65534) == 0)) return false;
        return HOLDS(recycle()) && HOLDS(disk.count(own()) == 0) &&
               HOLDS(disk.exists("/home/Trash/files/Old.app"));
    });
}

TEST_F(TrashOfVolume, WithoutOneTheItemIsCopiedToTheHomeFoldersTrash) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        block(own());
        return HOLDS(recycle()) && HOLDS(!disk.exists("/volume/dir/Old.app")) &&
               HOLDS(disk.read("/home/Trash/files/Old.app/version") == "1") &&
               HOLDS(disk.read("/home/Trash/info/Old.app.trashinfo")
                         .find("Path=" + disk.host("/volume/dir/Old.app") + "\n") !=
                     std::string::npos);
    });
}

TEST_F(TrashOfVolume, WithoutAnyTheItemStays) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        block(own());
        block("/home/Trash");
        return HOLDS(!recycle()) && HOLDS(isUntouched());
    });
}

TEST_F(TrashOfVolume, FullHomeTrashKeepsNoPieceAndTheItemStays) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare()) || !HOLDS(mountVolume(disk.host("/home"), "size=64k"))) return false;
        disk.makeFile("/volume/dir/Old.app/large", std::string(200 * 1024, 'x'));
        block(own());
        return HOLDS(!recycle()) && HOLDS(isUntouched()) &&
               HOLDS(disk.exists("/volume/dir/Old.app/large")) &&
               HOLDS(disk.count("/home/Trash/files") == 0) &&
               HOLDS(disk.count("/home/Trash/info") == 0);
    });
}

TEST_F(TrashOfVolume, NothingLeavesAReadOnlyVolume) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(prepare())) return false;
        const bool isReadOnly = ::mount("none", disk.host("/volume").c_str(), nullptr,
                                        MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
        return HOLDS(isReadOnly) && HOLDS(!recycle()) && HOLDS(isUntouched()) &&
               HOLDS(disk.count("/home/Trash/files") == 0);
    });
}

TEST_F(TrashOfVolume, FolderMountedASecondTimeHasATrashOfItsOwn) {
    disk.makeFile("/real/dir/Old.app/version", "1");
    EXPECT_WITH_OWN_MOUNTS([&] {
        const bool isBound = ::mount(disk.host("/real").c_str(), disk.host("/volume").c_str(),
                                     nullptr, MS_BIND, nullptr) == 0;
        return HOLDS(isBound) && HOLDS(recycle()) &&
               HOLDS(disk.read(own() + "/files/Old.app/version") == "1");
    });
}

TEST_F(TrashOfVolume, MountPointIsNotRecycled) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        const platform::LinuxTrash trash(disk.host("/home/Trash"), ::geteuid());
        return HOLDS(prepare()) && HOLDS(!trash.recycle(disk.host("/volume"))) &&
               HOLDS(isUntouched());
    });
}

TEST_F(TrashOfVolume, WhatIsInItStays) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        const platform::LinuxTrash trash(disk.host("/home/Trash"), ::geteuid());
        return HOLDS(prepare()) && HOLDS(recycle()) &&
               HOLDS(trash.recycle(disk.host(own() + "/files/Old.app"))) &&
               HOLDS(disk.read(own() + "/files/Old.app/version") == "1");
    });
}

}  // namespace
}  // namespace quillmore::tests
