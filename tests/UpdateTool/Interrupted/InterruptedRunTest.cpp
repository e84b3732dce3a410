// Each operation is stopped at each of its steps: killed, or told that the disk is full. Whatever
// the step, what is there after the next run is the old state or the new one, and nothing else.
#include <sys/wait.h>

#include <functional>
#include <map>

#include "tests/UpdateTool/Interrupted/Memory.h"
#include "tests/UpdateTool/Packages/FlatPackageBuilder.h"
#include "tests/UpdateTool/UpdateToolMachine.h"
#include "tests/fakes/SystemCalls.h"

namespace quillmore::tests {
namespace {

/// Every path with its mode and contents.
using State = std::map<std::string, std::string>;

/// What a command is run on; the default is a tool that was not there before.
struct Case {
    std::string name;
    updatetool::Arguments commandLine;
    /// The state before, when it is not an empty machine.
    std::vector<updatetool::Arguments> before;
    bool exchange = true;
};

const std::string kBundlePath = kPlugIns + "/A.plugin";
const std::string kApplication = "/Applications/A.app";
const std::string kKeys = "/home/.config/.mono/keypairs";

class InterruptedRun : public UpdateToolMachine, public testing::WithParamInterface<Case> {
protected:
    void SetUp() override {
        makeInputs();
        context.programPath = host("/in/new/program");
        for (const auto& line : GetParam().before) {
            context.programPath = host("/in/old/program");
            ASSERT_EQ(run(line), EX_OK) << errors;
        }
        context.programPath = host("/in/new/program");
        copyAll(folder.path(), kept_.path());
        supportExchange(GetParam().exchange);
        old_ = state();
        ASSERT_EQ(run(GetParam().commandLine), EX_OK) << errors;
        new_ = state();
        ASSERT_NE(old_, new_);
    }
    void TearDown() override {
        whenCallIs(0, Step::passes);
        supportExchange(true);
    }

    void makeInputs() const {
        for (const std::string age : {"old", "new"}) {
            const std::string in = "/in/" + age + "/";
            makeSigned(in + "program", age, "repair", "updateqm");
            makeSigned(in + "tool", age + " tool", "repairother", "tool");
            makeSigned(in + "root/tool", age + " root tool", "repairotherroot", "tool");
            makeSigned(in + "a.zip", bundle("A.plugin", age), "repairzipitem", kBundlePath);
            makeSigned(in + "u.zip", bundle("A.app", age), "applyfullupdate", kApplication);
            makeSigned(in + "f.zip", bundle("A.bundle", age), "repairintel10_5", "Fixes10_5");
            makeSigned(in + "a.pkg", flatPackage(fileSystem(age == "old" ? "1.0.0" : "2.0.0")),
                       "repairpackage", "");
        }
        makeFile(kKeys + "/one", "key", 0644);
        makeFile(kKeys + "/two", "key", 0640);
        makeFolder("/home/ACore.app", 0700);
        makeFolder("/home", 0755);
    }
    static ZipBuilder bundle(const std::string& name, const std::string& age) {
        return ZipBuilder().folder(name).file(name + "/" + age, age).file(name + "/both", age);
    }

    /// With their modes: writing to a file takes an ordinary user's set-user-ID bit away.
    static void copyAll(const std::filesystem::path& from, const std::filesystem::path& to) {
        std::filesystem::copy(from, to, kCopy);
        for (const auto& entry : std::filesystem::recursive_directory_iterator(from)) {
            if (entry.is_symlink()) continue;
            std::filesystem::permissions(to / std::filesystem::relative(entry.path(), from),
                                         entry.status().permissions());
        }
    }
    void restore() const {
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            std::filesystem::remove_all(entry);
        copyAll(kept_.path(), folder.path());
    }
    /// But for the inputs, the lock, and the folders that the product folder needs.
    State state() const {
        State result;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path())) {
            const std::string path = entry.path().string().substr(folder.path().size());
            const bool isOwnFile = path.ends_with(".updateqm.lock") || path == "/Library" ||
                                   path == "/Library/Application Support" || path == kProduct;
            if (path.starts_with("/in/") || isOwnFile) continue;
            result[path] =
                std::to_string(modeOf(path)) + (entry.is_regular_file() ? read(path) : "");
        }
        return result;
    }
    /// True when it was killed before it was done.
    bool runKilledAt(int number, const updatetool::Arguments& line) {
        const pid_t child = ::fork();
        if (child == 0) {
            whenCallIs(number, Step::killsTheProcess);
            const int status = run(line);
            ::_exit(status == EX_OK ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == kKilledStatus;
    }
    /// A run that does nothing but what every run does first.
    const updatetool::Arguments nextRun{"repairpermissionsother", "nothing"};
    void expectOldOrNew(const std::string& when) {
        const State now = state();
        EXPECT_TRUE(now == old_ || now == new_) << when << testing::PrintToString(now);
    }
    bool installs() const {
        const std::string& word = GetParam().commandLine.front();
        return word != "fixmonokeypairs" && word != "repaircore";
    }

    State old_, new_;
    TemporaryFolder kept_;
    static constexpr auto kCopy = std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::copy_symlinks |
                                  std::filesystem::copy_options::overwrite_existing;
};

TEST_P(InterruptedRun, KilledAtAnyStepLeavesOldOrNew) {
    int step = 1;
    for (restore(); runKilledAt(step, GetParam().commandLine); restore(), ++step) {
        const std::string when = "killed at step " + std::to_string(step) + " ";
        // Modes of several files cannot change together; the same command brings them home.
        if (installs()) {
            run(nextRun);
            expectOldOrNew(when);
        }
        EXPECT_EQ(run(GetParam().commandLine), EX_OK) << when << errors;
        EXPECT_EQ(state(), new_) << when;
    }
    EXPECT_EQ(state(), new_);
    RecordProperty("steps", step - 1);
}

TEST_P(InterruptedRun, KilledWhileItMendsWhatAKilledRunLeftItIsMendedByTheNextOne) {
    if (!installs()) GTEST_SKIP() << "leaves nothing to mend";
    for (int step = 5;; step += 7) {
        for (int mending = 1;; mending += 2) {
            restore();
            if (!runKilledAt(step, GetParam().commandLine)) return;
            if (!runKilledAt(mending, nextRun)) break;
            run(nextRun);
            expectOldOrNew("steps " + std::to_string(step) + ", " + std::to_string(mending) + " ");
        }
    }
}

TEST_P(InterruptedRun, FailureOfAnyStepLeavesOldAndSuccessNew) {
    for (int step = 1;; ++step) {
        restore();
        whenCallIs(step, Step::fails);
        const int status = run(GetParam().commandLine);
        const bool reached = callsSoFar() >= step;
        whenCallIs(0, Step::passes);
        if (!reached) break;
        const std::string first = errors;
        if (installs()) run(nextRun);
        EXPECT_EQ(state(), status == EX_OK ? new_ : old_) << "step " << step << " " << first;
    }
}

TEST_P(InterruptedRun, LackOfMemoryAtAnyStepLeavesOldAndSuccessNew) {
    for (int step = 1;; ++step) {
        restore();
        std::ostringstream stream;
        whenMemoryIs(step);
        const int status = updatetool::runCommand(context, GetParam().commandLine, stream);
        const bool reached = memoryAskedForSoFar() >= step;
        whenMemoryIs(0);
        if (!reached) break;
        if (installs()) run(nextRun);
        EXPECT_EQ(state(), status == EX_OK ? new_ : old_) << "step " << step << " " << stream.str();
    }
}

std::vector<Case> cases() {
    const updatetool::Arguments oldTool{"repairother", "/in/old/tool", "/in/old/tool.sig"};
    const updatetool::Arguments oldRoot{"repairotherroot", "/in/old/root/tool",
                                        "/in/old/root/tool.sig"};
    const updatetool::Arguments newTool{"repairother", "/in/new/tool", "/in/new/tool.sig"};
    const updatetool::Arguments newRoot{"repairotherroot", "/in/new/root/tool",
                                        "/in/new/root/tool.sig"};
    const auto item = [](const std::string& age) {
        return updatetool::Arguments{"repairzipitem", "/in/" + age + "/a.zip",
                                     "/in/" + age + "/a.zip.sig", kBundlePath};
    };
    const auto fixes = [](const std::string& age) {
        return updatetool::Arguments{"repairintel10_5", "/in/" + age + "/f.zip",
                                     "/in/" + age + "/f.zip.sig"};
    };
    const auto update = [](const std::string& age) {
        return updatetool::Arguments{"applyfullupdate", "/in/" + age + "/u.zip",
                                     "/in/" + age + "/u.zip.sig", kApplication};
    };
    return {
        {"repair", {"repair", "/in/new/program.sig"}, {}},
        {"repairOverOld", {"repair", "/in/new/program.sig"}, {{"repair", "/in/old/program.sig"}}},
        {"repairother", newTool, {}},
        {"repairotherOverOld", newTool, {oldTool}},
        {"repairotherOverRootTool", newTool, {oldRoot}},
        {"repairotherroot", newRoot, {}},
        {"repairotherrootOverTool", newRoot, {oldTool}},
        {"repairotherrootOverOldWithoutExchange", newRoot, {oldTool}, false},
        {"repairzipitem", item("new"), {}},
        {"repairzipitemOverOld", item("new"), {item("old")}},
        {"repairzipitemOverOldWithoutExchange", item("new"), {item("old")}, false},
        {"repairintel10_5", fixes("new"), {fixes("old")}},
        {"applyfullupdate", update("new"), {update("old")}},
        {"repairpackage", {"repairpackage", "/in/new/a.pkg"}, {}},
        {"repairpackageOverOld",
         {"repairpackage", "/in/new/a.pkg"},
         {{"repairpackage", "/in/old/a.pkg"}}},
        {"fixmonokeypairs", {"fixmonokeypairs", kKeys}, {}},
        {"repaircore", {"repaircore", "/home/ACore.app"}, {}}};
}

INSTANTIATE_TEST_SUITE_P(Operations, InterruptedRun, testing::ValuesIn(cases()),
                         [](const auto& one) { return one.param.name; });

/// The commands that give a tool its mode back, on a tool that lost it.
class InterruptedPermissions : public UpdateToolMachine,
                               public testing::WithParamInterface<std::pair<const char*, mode_t>> {
};

TEST_P(InterruptedPermissions, KilledAtAnyStepTheToolHasTheOldModeOrTheNew) {
    const std::string word = GetParam().first;
    const bool own = word == "repairpermissions";
    const std::string tool = kProduct + (own ? "/updateqm" : "/tool");
    const updatetool::Arguments line =
        own ? updatetool::Arguments{word} : updatetool::Arguments{word, "tool"};
    const std::string command =
        word == "repairpermissionsother" ? "repairother" : "repairotherroot";
    makeSigned("/in/tool", "bytes", command, "tool");
    ASSERT_EQ(run({command, "/in/tool", "/in/tool.sig"}), EX_OK) << errors;
    if (own) makeFile(tool, "bytes");
    for (int step = 1, killed = 1; killed != 0; ++step) {
        ::chmod(host(tool).c_str(), 0700);
        if (::fork() == 0) {
            whenCallIs(step, Step::killsTheProcess);
            run(line);
            ::_exit(0);
        }
        ::wait(&killed);
        EXPECT_THAT(modeOf(tool), testing::AnyOf(0700u, GetParam().second));
        EXPECT_EQ(run(line), EX_OK) << errors;
        EXPECT_EQ(modeOf(tool), GetParam().second);
    }
}

INSTANTIATE_TEST_SUITE_P(Words, InterruptedPermissions,
                         testing::Values(std::pair{"repairpermissions", mode_t{04755}},
                                         std::pair{"repairpermissionsother", mode_t{0755}},
                                         std::pair{"repairpermissionsotherroot", mode_t{04755}}),
                         [](const auto& one) { return std::string(one.param.first); });

}  // namespace
}  // namespace quillmore::tests
