// The move with the Trash of this system, stopped at each of its steps: killed, or told that the
// disk is full. Whatever the step, nothing is lost, and nothing but a whole bundle bears its name.
#include <algorithm>
#include <map>

#include "Platform/Linux/LinuxTrash.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/TrashFolder.h"
#include "tests/Common/MoveToApplications/MoveFixture.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Linux/OwnMounts.h"
#include "tests/Platform/Processes/ForkedProcess.h"
#include "tests/fakes/SystemCalls.h"

namespace quillmore::tests {
namespace {

constexpr const char* kVolumeTrash = "/.Trash-";
constexpr const char* kHomeTrash = "/Users/jo/.local/share/Trash";

void makeBundle(const std::string& hostPath, const std::string& version) {
    for (const char* file : {"Contents/Info.plist", "Contents/MacOS/Quillmore", "version"}) {
        const std::filesystem::path path = std::filesystem::path(hostPath) / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << version << file;
    }
}

/// What is in a folder, by relative paths; nothing when it is not there.
std::map<std::string, std::string> contentsOf(const std::string& folder) {
    std::map<std::string, std::string> found;
    if (!std::filesystem::is_directory(folder)) return found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        std::ostringstream text;
        if (entry.is_regular_file()) text << std::ifstream(entry.path()).rdbuf();
        found[entry.path().string().substr(folder.size())] = text.str();
    }
    return found;
}

/// True when the process was killed before it was done.
bool isKilledAt(int step, const std::function<void()>& work) {
    ForkedProcess process([&]() -> int {
        whenCallIs(step, Step::killsTheProcess);
        work();
        return 0;
    });
    return process.exitStatus() == kKilledStatus;
}

/// What was done last before the first call of that name.
std::string callBefore(const std::string& name) {
    const std::vector<std::string> calls = namesOfCalls();
    const auto found = std::find(calls.begin(), calls.end(), name);
    return found == calls.begin() || found == calls.end() ? "nothing" : *(found - 1);
}

class InterruptedMove : public MoveFixture {
protected:
    InterruptedMove() {
        services.set.workspace = &workspace;
        for (const char* path : {kSource, kDestination})
            std::filesystem::remove_all(services.host(path));
        makeBundle(services.host(kSource), "new");
        makeBundle(services.host(kDestination), "old");
        new_ = contentsOf(services.host(kSource));
        old_ = contentsOf(services.host(kDestination));
        std::filesystem::copy(services.root.path(), kept_.path(), kCopy);
    }
    ~InterruptedMove() override {
        whenCallIs(0, Step::passes);
        supportExchange(true);
    }

    void restore() {
        for (const auto& entry : std::filesystem::directory_iterator(services.root.path()))
            std::filesystem::remove_all(entry);
        std::filesystem::copy(kept_.path(), services.root.path(), kCopy);
        services.userInterface.alerts.clear();
        services.userInterface.answers.clear();
    }
    bool isNewAt(const std::string& path) const { return contentsOf(services.host(path)) == new_; }
    bool isOldAt(const std::string& path) const { return contentsOf(services.host(path)) == old_; }
    bool isInATrash(const std::map<std::string, std::string>& bundle) const {
        const std::string ofVolume = kVolumeTrash + std::to_string(::geteuid());
        for (const std::string& trash : {std::string(kHomeTrash), ofVolume}) {
            for (const char* name : {"/files/Quillmore.app", "/files/Quillmore.2.app"})
                if (contentsOf(services.host(trash + name)) == bundle) return true;
        }
        return false;
    }
    bool nothingIsLost() const {
        const bool placeIsFree = !services.exists(kDestination);
        return HOLDS(placeIsFree || isOldAt(kDestination) || isNewAt(kDestination)) &&
               HOLDS(isOldAt(kDestination) || isInATrash(old_)) &&
               HOLDS(isNewAt(kDestination) || isNewAt(kSource));
    }
    /// The next start, which declines, and one which moves when there is something to move.
    bool nextStartsMendIt() {
        if (!services.exists(kSource)) startFromKept(kDestination);
        answer(1);
        if (!HOLDS(!moves()) || !HOLDS(!services.exists(kStaging)) || !nothingIsLost())
            return false;
        if (services.exists(kSource) && !HOLDS(moves())) return false;
        startFromKept(kSource);
        return HOLDS(isNewAt(kDestination));
    }
    bool failureIsToldAndNothingIsLost(bool moved) {
        const bool stays = services.exists(kStaging);
        if (!nothingIsLost()) return false;
        if (moved) return HOLDS(isNewAt(kDestination)) && HOLDS(!stays);
        const bool saysTrash = failureText().find("is in the Trash.") != std::string::npos;
        const bool saysPiece = failureText().find("incomplete copy") != std::string::npos;
        return HOLDS(isNewAt(kSource)) && HOLDS(saysTrash == !isOldAt(kDestination)) &&
               HOLDS(saysPiece == stays) && HOLDS(failureText() != "no failure alert");
    }

    platform::LinuxWorkspace workspace{services.files, services.processes, "/proc",
                                       services.host(kHomeTrash)};

private:
    void startFromKept(const std::string& bundlePath) {
        services.bundle = std::make_unique<platform::Bundle>(
            services.files, bundlePath, std::vector<std::string>{"en"}, *services.set.problems);
        services.set.mainBundle = services.bundle.get();
    }

    std::map<std::string, std::string> new_, old_;
    TemporaryFolder kept_;
    static constexpr auto kCopy = std::filesystem::copy_options::recursive;
};

TEST_F(InterruptedMove, KilledAtAnyStepLosesNothingAndIsMendedAtTheNextStart) {
    int step = 1;
    for (; isKilledAt(step, [this] { moves(); }); restore(), ++step) {
        ASSERT_TRUE(nothingIsLost()) << "killed at step " << step;
        ASSERT_TRUE(nextStartsMendIt()) << "killed at step " << step;
    }
    EXPECT_GT(step, 15);
}

TEST_F(InterruptedMove, FailureOfAnyStepLosesNothingAndIsTold) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        // A volume of its own, whose Trash is tried where the home folder's cannot be used.
        if (!HOLDS(mountVolume(services.root.path()))) return false;
        for (int step = 1;; ++step) {
            restore();
            whenCallIs(step, Step::fails);
            const bool moved = moves();
            const bool wasReached = callsSoFar() >= step;
            whenCallIs(0, Step::passes);
            if (!wasReached) return HOLDS(step > 15);
            if (!failureIsToldAndNothingIsLost(moved)) {
                std::fprintf(stderr, "step %d failed\n", step);
                return false;
            }
        }
    });
}

TEST_F(InterruptedMove, CopyIsOnDiskBeforeItBearsTheName) {
    whenCallIs(0, Step::passes);
    EXPECT_TRUE(moves());
    EXPECT_EQ(callBefore("rename"), "syncfs");
}

TEST_F(InterruptedMove, VolumeThatCannotRenameExclusivelyReplacesNothingEither) {
    supportExchange(false);
    EXPECT_TRUE(moves());
    EXPECT_TRUE(nothingIsLost());
    EXPECT_TRUE(isNewAt(kDestination));
    services.makeFile("/other", "other");
    EXPECT_EQ(platform::renameExclusively(services.host("/other"), services.host(kDestination)),
              EEXIST);
    EXPECT_TRUE(isNewAt(kDestination));
    EXPECT_EQ(platform::renameExclusively(services.host("/other"), services.host("/new")), 0);
    EXPECT_EQ(services.read("/new"), "other");
}

/// In the child: an item on a volume that can have no Trash, so that it is copied to the home
/// folder's.
class InterruptedTrash : public testing::Test {
protected:
    InterruptedTrash() { disk.makeFolder("/volume"); }
    bool mount() const {
        if (!mountVolume(disk.host("/volume"))) return false;
        disk.makeFile("/volume" + (kVolumeTrash + std::to_string(::geteuid())), "no Trash here");
        return true;
    }
    void prepare() {
        std::filesystem::remove_all(disk.host("/home"));
        std::filesystem::remove_all(item);
        makeBundle(item, "old");
        whole = contentsOf(item);
    }
    /// In the child an ordinary user has another number.
    bool recycle() const {
        return platform::LinuxTrash(disk.host("/home/Trash"), ::geteuid()).recycle(item);
    }
    bool isWholeHereOrThere() const {
        return contentsOf(item) == whole || contentsOf(copy) == whole;
    }

    TemporaryFiles disk;
    const std::string item = disk.host("/volume/Old.app");
    const std::string copy = disk.host("/home/Trash/files/Old.app");
    std::map<std::string, std::string> whole;
};

TEST_F(InterruptedTrash, KilledAtAnyStepTheItemIsWholeHereOrThere) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(mount())) return false;
        for (int step = 1;; ++step) {
            prepare();
            if (!isKilledAt(step, [&] { recycle(); })) return HOLDS(step > 15);
            if (!HOLDS(isWholeHereOrThere())) return false;
        }
    });
}

TEST_F(InterruptedTrash, FailureOfAnyStepLeavesTheItemWholeHereOrThere) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(mount())) return false;
        for (int step = 1;; ++step) {
            prepare();
            whenCallIs(step, Step::fails);
            const bool recycled = recycle();
            const bool wasReached = callsSoFar() >= step;
            whenCallIs(0, Step::passes);
            if (!wasReached) return HOLDS(step > 15) && HOLDS(recycled);
            if (!HOLDS(isWholeHereOrThere())) return false;
            if (recycled && !HOLDS(contentsOf(item).empty())) return false;
        }
    });
}

TEST_F(InterruptedTrash, CopyIsOnDiskBeforeTheItemGoes) {
    EXPECT_WITH_OWN_MOUNTS([&] {
        if (!HOLDS(mount())) return false;
        prepare();
        whenCallIs(0, Step::passes);
        return HOLDS(recycle()) && HOLDS(callBefore("unlinkat") == "syncfs");
    });
}

}  // namespace
}  // namespace quillmore::tests
