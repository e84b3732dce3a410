// The programs of the bundle's Contents/SharedSupport/bin, run for real.
#include <gmock/gmock.h>
#include <sys/xattr.h>

#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Task.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Linux/OwnMounts.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class Programs : public testing::Test {
protected:
    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };
    Ended run(const std::string& program, const std::vector<std::string>& arguments) const {
        platform::Task task(*spawner);
        platform::Pipe output;
        platform::Pipe errors;
        task.setLaunchPath(std::string(QUILLMORE_TEST_PROGRAMS) + "/" + program);
        task.setArguments(arguments);
        task.setEnvironment(platform::withFolderFirstInPath(platform::environmentOfThisProcess(),
                                                            QUILLMORE_TEST_PROGRAMS));
        task.setStandardOutput(output);
        task.setStandardError(errors);
        task.launch();
        const std::string text = output.readToEnd();
        const std::string problems = errors.readToEnd();
        task.waitUntilExit();
        return {task.terminationStatus(), text, problems};
    }
    /// A bundle whose program says in a FIFO "said" how it was started.
    std::string makeApplication(const std::string& path) const {
        disk.makeFile(
            path + "/Contents/Info.plist",
            "<plist><dict><key>CFBundleExecutable</key><string>Main</string></dict></plist>");
        disk.makeFile(
            path + "/Contents/MacOS/Main",
            "#!/bin/sh\n{ echo $PATH; ps -o sid= -p $$; echo $$; } >" + disk.host("/said") + "\n",
            0755);
        ::mkfifo(disk.host("/said").c_str(), 0600);
        return disk.host(path);
    }

    TemporaryFiles disk;
    std::unique_ptr<platform::ProcessSpawner> spawner = platform::makePosixProcessSpawner();
};

TEST_F(Programs, OpenStartsAnApplicationInASessionOfItsOwn) {
    const std::string application = makeApplication("/My App.app");
    EXPECT_EQ(run("open", {application}).status, 0);
    std::ifstream said(disk.host("/said"));
    std::string path;
    pid_t session = 0;
    pid_t process = -1;
    std::getline(said, path);
    said >> session >> process;
    EXPECT_EQ(session, process);
    EXPECT_THAT(path, testing::Not(HasSubstr(QUILLMORE_TEST_PROGRAMS)));
}

TEST_F(Programs, OpenNamesWhatIsNotThere) {
    const Ended ended = run("open", {disk.host("/None.app")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "The file " + disk.host("/None.app") + " does not exist.\n");
}

TEST_F(Programs, OpenNamesWhatIsNoApplication) {
    disk.makeFolder("/Empty.app");
    const Ended ended = run("open", {disk.host("/Empty.app")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "The application " + disk.host("/Empty.app") + " cannot be opened.\n");
}

TEST_F(Programs, OpenGoesOnToTheNextWhenOneIsNotThere) {
    disk.makeFolder("/Empty.app");
    const Ended ended = run("open", {disk.host("/None.app"), disk.host("/Empty.app")});
    EXPECT_THAT(ended.errors, HasSubstr("/None.app does not exist.\n"));
    EXPECT_THAT(ended.errors, HasSubstr("/Empty.app cannot be opened.\n"));
}

TEST_F(Programs, EachSaysHowItIsUsed) {
    EXPECT_THAT(run("open", {}).errors, HasSubstr("usage: open"));
    EXPECT_THAT(run("xattr", {"-d", "name"}).errors, HasSubstr("usage: xattr"));
    EXPECT_THAT(run("xattr", {"name", "file"}).errors, HasSubstr("usage: xattr"));
    EXPECT_THAT(run("hdiutil", {"attach", "/"}).errors, HasSubstr("usage: hdiutil"));
    EXPECT_NE(run("hdiutil", {}).status, 0);
}

class Attributes : public Programs {
protected:
    /// False where the file system has no attributes.
    bool mark(const std::string& path) const {
        return ::setxattr(disk.host(path).c_str(), kName, "1", 1, 0) == 0;
    }
    bool isMarked(const std::string& path) const {
        return ::getxattr(disk.host(path).c_str(), kName, nullptr, 0) >= 0;
    }
    static constexpr const char* kName = "user.com.apple.quarantine";
};

TEST_F(Attributes, RecursionReachesEveryFileAndFolder) {
    disk.makeFile("/A.app/Contents/file", "");
    if (!mark("/A.app") || !mark("/A.app/Contents") || !mark("/A.app/Contents/file"))
        GTEST_SKIP() << "the file system of the temporary folder has no attributes";
    disk.makeLink("/A.app/dangling", "nowhere");
    const Ended ended = run("xattr", {"-d", "-r", "com.apple.quarantine", disk.host("/A.app")});
    EXPECT_EQ(ended.errors, "");
    EXPECT_EQ(ended.status, 0);
    for (const char* path : {"/A.app", "/A.app/Contents", "/A.app/Contents/file"})
        EXPECT_FALSE(isMarked(path)) << path;
}

TEST_F(Attributes, WithoutRecursionTheFolderAloneLosesIt) {
    disk.makeFile("/A.app/file", "");
    if (!mark("/A.app") || !mark("/A.app/file"))
        GTEST_SKIP() << "the file system of the temporary folder has no attributes";
    EXPECT_EQ(run("xattr", {"-d", "com.apple.quarantine", disk.host("/A.app")}).status, 0);
    EXPECT_FALSE(isMarked("/A.app"));
    EXPECT_TRUE(isMarked("/A.app/file"));
}

TEST_F(Attributes, NameMayBeTheSystemsOwn) {
    disk.makeFile("/file", "");
    if (!mark("/file")) GTEST_SKIP() << "the file system of the temporary folder has no attributes";
    EXPECT_EQ(run("xattr", {"-d", kName, disk.host("/file")}).status, 0);
    EXPECT_FALSE(isMarked("/file"));
}

TEST_F(Attributes, RecursionDoesNotLeaveTheTree) {
    disk.makeFile("/outside/file", "");
    disk.makeFolder("/A.app");
    if (!mark("/outside/file"))
        GTEST_SKIP() << "the file system of the temporary folder has no attributes";
    disk.makeLink("/A.app/link", "../outside");
    EXPECT_EQ(run("xattr", {"-d", "-r", "com.apple.quarantine", disk.host("/A.app")}).status, 0);
    EXPECT_TRUE(isMarked("/outside/file"));
}

TEST_F(Attributes, MissingOneIsNamedUnlessATreeIsCleared) {
    disk.makeFile("/file", "");
    const std::string file = disk.host("/file");
    const Ended ended = run("xattr", {"-d", "com.apple.quarantine", file});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "xattr: " + file + ": No such xattr: com.apple.quarantine\n");
    EXPECT_EQ(run("xattr", {"-d", "-r", "com.apple.quarantine", file}).status, 0);
}

TEST_F(Attributes, MissingFileIsNamed) {
    const Ended ended = run("xattr", {"-d", "-r", "name", disk.host("/none")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.errors, HasSubstr("/none: No such file or directory"));
}

TEST_F(Programs, DetachUnmountsAVolume) {
    if (::geteuid() != 0) GTEST_SKIP() << "umount is root's";
    disk.makeFolder("/Volumes/My Image");
    EXPECT_WITH_OWN_MOUNTS([&] {
        const std::string volume = disk.host("/Volumes/My Image");
        if (!HOLDS(mountVolume(volume))) return false;
        disk.makeFile("/Volumes/My Image/file", "");
        return HOLDS(run("hdiutil", {"detach", volume}).status == 0) &&
               HOLDS(!disk.exists("/Volumes/My Image/file"));
    });
}

TEST_F(Programs, DetachOfWhatIsNoVolumeFails) {
    disk.makeFile("/folder/file", "");
    EXPECT_NE(run("hdiutil", {"detach", disk.host("/folder")}).status, 0);
    EXPECT_TRUE(disk.exists("/folder/file"));
    EXPECT_THAT(run("hdiutil", {"detach", disk.host("/none")}).errors,
                HasSubstr("No such file or directory"));
}

}  // namespace
}  // namespace quillmore::tests
