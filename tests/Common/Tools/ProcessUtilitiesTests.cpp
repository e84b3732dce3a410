#include "Common/Tools/ProcessUtilities.h"

#include <csignal>

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;

constexpr const char* kNamed =
    "ps ax -o comm | fgrep 'AcmeCore' | grep -v grep | grep -v relaunchqm > /dev/null";
constexpr const char* kMac = "ps ax -o comm | grep 'Quillmore Mac' | grep -v grep >/dev/null";
constexpr const char* kCore = "ps ax -o comm | grep 'QuillmoreCore' | grep -v grep >/dev/null";

platform::ProcessEnd exited(int status) {
    return {.signalled = false, .value = status};
}

class CoreRunning : public LogTest {
protected:
    CoreRunning() {
        services.processes.teach("/bin/sh", {.output = "", .end = exited(1), .effect = {}});
    }
    void pipelineEnds(const std::string& pipeline, platform::ProcessEnd end) {
        services.processes.teachCommand("/bin/sh -c " + pipeline,
                                        {.output = "", .end = end, .effect = {}});
    }
    static bool running() { return ProcessUtilities::quillmoreCoreAlreadyRunning("AcmeCore"); }
};

TEST_F(CoreRunning, ThreePipelinesRunInOrder) {
    EXPECT_FALSE(running());
    const std::string shell = "/bin/sh -c ";
    EXPECT_THAT(services.processes.started,
                ElementsAre(shell + kNamed, shell + kMac, shell + kCore));
}

TEST_F(CoreRunning, PipelineTextIsOneArgumentOfTheShell) {
    running();
    EXPECT_EQ(services.processes.requests.at(0).launchPath, "/bin/sh");
    EXPECT_THAT(services.processes.requests.at(0).arguments, ElementsAre("-c", kNamed));
}

TEST_F(CoreRunning, ProgramsOfTheBundleComeFirst) {
    running();
    for (const platform::ProcessRequest& request : services.processes.requests) {
        ASSERT_TRUE(request.environment);
        EXPECT_THAT(*request.environment,
                    testing::Contains(testing::StartsWith(
                        "PATH=/Applications/Quillmore.app/Contents/SharedSupport/bin:")));
    }
}

/// The search path of this process while one lives.
class SearchPath {
public:
    explicit SearchPath(const std::string& folder) : before_(std::getenv("PATH")) {
        ::setenv("PATH", folder.c_str(), 1);
    }
    ~SearchPath() { ::setenv("PATH", before_.c_str(), 1); }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;

private:
    std::string before_;
};

TEST_F(CoreRunning, MissingProgramForTheTableIsLoggedOnce) {
    const SearchPath path(services.host("/tmp"));
    CapturedOutput captured;
    EXPECT_FALSE(running());
    EXPECT_THAT(messages(captured.take().standardError),
                ElementsAre("Cannot see whether \"AcmeCore\" is running: there is no program "
                            "\"ps\""));
    services.makeFile("/tmp/ps", "", 0755);
    running();
    EXPECT_EQ(captured.take().standardError, "");
}

TEST_F(CoreRunning, AnyOfTheThreeSufficesAndAllStillRun) {
    for (const char* pipeline : {kNamed, kMac, kCore}) {
        services.processes.started.clear();
        pipelineEnds(pipeline, exited(0));
        EXPECT_TRUE(running()) << pipeline;
        EXPECT_EQ(services.processes.started.size(), 3U);
        pipelineEnds(pipeline, exited(1));
    }
}

TEST_F(CoreRunning, PipelineKilledByASignalFindsNothing) {
    pipelineEnds(kNamed, {.signalled = true, .value = SIGKILL});
    EXPECT_FALSE(running());
}

TEST_F(CoreRunning, NameIsInsertedWithoutEscaping) {
    ProcessUtilities::quillmoreCoreAlreadyRunning("a'b\"$c");
    EXPECT_EQ(services.processes.started.at(0),
              "/bin/sh -c ps ax -o comm | fgrep 'a'b\"$c' | grep -v grep | grep -v relaunchqm > "
              "/dev/null");
}

/// Cannot start anything.
class BrokenSpawner final : public platform::ProcessSpawner {
public:
    int attempts = 0;
    pid_t spawn(const platform::ProcessRequest&) override {
        ++attempts;
        throw platform::Exception(platform::kInvalidArgumentException, "no processes left");
    }
    platform::ProcessEnd wait(pid_t) override { return {}; }
    std::optional<platform::ProcessEnd> poll(pid_t) override { return std::nullopt; }
    void abandon(pid_t) override {}
};

TEST_F(CoreRunning, PipelineThatCannotRunFindsNothingAndIsNotLogged) {
    BrokenSpawner spawner;
    services.set.processes = &spawner;
    CapturedOutput captured;
    EXPECT_FALSE(running());
    EXPECT_EQ(spawner.attempts, 3);
    EXPECT_EQ(captured.take().standardError, "");
}

/// Real shells and filters over a process table of the test's own: a "ps" found first in PATH.
class CoreRunningInTable : public LogTest {
protected:
    CoreRunningInTable() : path_(std::getenv("PATH")) {
        services.set.processes = spawner_.get();
        ::setenv("PATH", (services.host("/tmp") + ":" + path_).c_str(), 1);
    }
    ~CoreRunningInTable() override { ::setenv("PATH", path_.c_str(), 1); }

    bool running(const std::string& name, const std::vector<std::string>& table) const {
        std::string script = "#!/bin/sh\n[ \"$*\" = 'ax -o comm' ] || exit 9\necho COMMAND\n";
        for (const std::string& command : table) script += "echo '" + command + "'\n";
        services.makeFile("/tmp/ps", script, 0755);
        return ProcessUtilities::quillmoreCoreAlreadyRunning(name);
    }

private:
    std::string path_;
    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
};

TEST_F(CoreRunningInTable, NothingMatchesAnEmptyTable) {
    EXPECT_FALSE(running("AcmeCore", {}));
}

TEST_F(CoreRunningInTable, NamedProcessIsFoundAnywhereInALine) {
    EXPECT_TRUE(running("AcmeCore", {"bash", "AcmeCore"}));
    EXPECT_TRUE(running("AcmeCore", {"/Applications/AcmeCore.app/Contents/MacOS/AcmeCore"}));
    EXPECT_FALSE(running("AcmeCore", {"acmecore", "Acme Core", "Acme"}));
}

TEST_F(CoreRunningInTable, NameIsAFixedStringNotAPattern) {
    EXPECT_FALSE(running("A.meCore", {"AcmeCore"}));
    EXPECT_TRUE(running("A.meCore", {"A.meCore"}));
}

TEST_F(CoreRunningInTable, RelaunchHelperAloneNeverSatisfiesTheNamedSearch) {
    EXPECT_FALSE(running("relaunchqm", {"relaunchqm"}));
    EXPECT_FALSE(running("AcmeCore", {"relaunchqm AcmeCore"}));
    EXPECT_TRUE(running("AcmeCore", {"relaunchqm AcmeCore", "AcmeCore"}));
}

TEST_F(CoreRunningInTable, LinesOfTheSearchItselfAreIgnored) {
    EXPECT_FALSE(running("AcmeCore", {"grep AcmeCore", "fgrep AcmeCore", "grep QuillmoreCore",
                                      "grep Quillmore Mac"}));
}

TEST_F(CoreRunningInTable, ProductWordAndCoreIsFoundWhateverTheName) {
    EXPECT_TRUE(running("AcmeCore", {"QuillmoreCore"}));
    EXPECT_TRUE(running("AcmeCore", {"relaunchqm QuillmoreCore"}));
}

TEST_F(CoreRunningInTable, ProductWordAndMacIsFoundWhateverTheName) {
    EXPECT_TRUE(running("AcmeCore", {"Quillmore Mac"}));
    EXPECT_FALSE(running("AcmeCore", {"QuillmoreMac", "Quillmore"}));
}

/// A process that really runs, ended with the test.
class RunningProcess {
public:
    RunningProcess(platform::ProcessSpawner& spawner, const std::string& path) : spawner_(spawner) {
        platform::ProcessRequest request;
        request.launchPath = path;
        request.arguments = {"600"};
        process_ = spawner_.spawn(request);
    }
    ~RunningProcess() {
        ::kill(process_, SIGKILL);
        spawner_.wait(process_);
    }
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

private:
    platform::ProcessSpawner& spawner_;
    pid_t process_ = 0;
};

using CoreInProcessTable = LogTest;

TEST_F(CoreInProcessTable, RunningCoreIsFoundWhateverTheName) {
    if (::access("/bin/sleep", X_OK) != 0) GTEST_SKIP() << "no program to run under the name";
    const auto spawner = platform::makePosixProcessSpawner();
    services.set.processes = spawner.get();
    std::filesystem::copy_file("/bin/sleep", services.host("/tmp/QuillmoreCore"));
    const RunningProcess core(*spawner, services.host("/tmp/QuillmoreCore"));
    EXPECT_TRUE(ProcessUtilities::quillmoreCoreAlreadyRunning("NoSuchProductCore"));
}

using RunningApplications = LogTest;

TEST_F(RunningApplications, FinderAndITunesAreFoundByIdentifier) {
    services.workspace.addRunning("com.example.other", 1);
    services.workspace.addRunning("com.apple.finder", 2);
    services.workspace.addRunning("com.apple.iTunes", 3);
    services.workspace.addRunning("com.apple.finder", 4);
    const auto finder = ProcessUtilities::getRunningFinder();
    const auto iTunes = ProcessUtilities::getRunningiTunesInfo();
    ASSERT_TRUE(finder && iTunes);
    EXPECT_EQ(finder->at("NSApplicationProcessIdentifier").intValue(), 2);
    EXPECT_EQ(iTunes->at("NSApplicationProcessIdentifier").intValue(), 3);
}

TEST_F(RunningApplications, NothingWhenNeitherRuns) {
    services.workspace.addRunning("com.apple.itunes", 1);
    services.workspace.running.push_back({{"NSApplicationBundleIdentifier", 5}});
    EXPECT_EQ(ProcessUtilities::getRunningFinder(), std::nullopt);
    EXPECT_EQ(ProcessUtilities::getRunningiTunesInfo(), std::nullopt);
}

TEST_F(RunningApplications, LanguageIsEnglishWhateverTheSystemsIs) {
    services.useLanguages({"de", "fr"});
    EXPECT_EQ(ProcessUtilities::currentLanguage(), "en");
}

}  // namespace
}  // namespace quillmore::tests
