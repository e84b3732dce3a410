// What reaches the disk, and what other processes see of it.
#include <gtest/gtest.h>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Settings/UserDefaults.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Data;
using platform::Date;
using platform::Dictionary;
using platform::Error;
using platform::UserDefaults;
using platform::Value;

constexpr const char* kFile = "/Preferences/com.test.plist";

class UserDefaultsSynchronize : public testing::Test {
protected:
    UserDefaults makeDefaults() {
        return UserDefaults(disk.files, "/Preferences", "com.test", {}, problems);
    }
    void write(const Value& value) const {
        disk.makeFile(kFile, platform::writePropertyList(value));
    }
    /// The file as it is now; null when it cannot be read.
    Value file() const {
        const auto list = platform::readPropertyList(disk.files, kFile);
        return list ? *list : Value();
    }
    /// Sets one key and synchronises.
    std::optional<Error> save(const char* key, Value value) {
        UserDefaults defaults = makeDefaults();
        defaults.setObject(key, std::move(value));
        return defaults.synchronize();
    }
    TemporaryFiles disk;
    RecordingProblems problems;
};

TEST_F(UserDefaultsSynchronize, FolderIsMadeForTheUserAloneAndSoIsTheFile) {
    EXPECT_EQ(save("A", "text"), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"A", "text"}}));
    EXPECT_EQ(disk.mode("/Preferences"), 0700u);
    EXPECT_EQ(disk.mode(kFile), 0600u);
    EXPECT_EQ(disk.mode("/Preferences/.com.test.lock"), 0600u);
    EXPECT_EQ(disk.count("/Preferences"), 2u);
}

TEST_F(UserDefaultsSynchronize, NothingSetMeansNothingWritten) {
    UserDefaults defaults = makeDefaults();
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_FALSE(disk.exists("/Preferences"));
}

TEST_F(UserDefaultsSynchronize, ForeignKeysKeepTheirValuesAndKinds) {
    const Dictionary before = {{"flag", true},
                               {"one", 1},
                               {"real", 1.0},
                               {"date", Date{1000}},
                               {"data", Data{{0, 1, 255}}},
                               {"list", Array{Dictionary{{"UserName", "jo"}}, false, 0}},
                               {"text", "<&>\"\xC3\xA4"}};
    write(before);
    EXPECT_EQ(save("new", "x"), std::nullopt);
    Dictionary after = before;
    after["new"] = "x";
    EXPECT_EQ(file(), Value(after));
}

TEST_F(UserDefaultsSynchronize, RemovedKeyLeavesTheFile) {
    write(Dictionary{{"A", 1}, {"B", 2}});
    UserDefaults defaults = makeDefaults();
    defaults.removeObject("A");
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"B", 2}}));
}

TEST_F(UserDefaultsSynchronize, OnlyTheChangesAreWrittenOverWhatOthersSaved) {
    write(Dictionary{{"mine", 1}, {"theirs", 1}});
    UserDefaults defaults = makeDefaults();
    EXPECT_EQ(defaults.objectForKey("theirs"), Value(1));
    write(Dictionary{{"mine", 1}, {"theirs", 2}});
    defaults.setObject("mine", 3);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"mine", 3}, {"theirs", 2}}));
    EXPECT_EQ(defaults.objectForKey("theirs"), Value(2));
}

TEST_F(UserDefaultsSynchronize, TakesUpWhatOthersSavedWithNothingOfItsOwn) {
    UserDefaults defaults = makeDefaults();
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    write(Dictionary{{"A", 1}});
    EXPECT_EQ(defaults.objectForKey("A"), std::nullopt);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(defaults.objectForKey("A"), Value(1));
}

TEST_F(UserDefaultsSynchronize, SavedChangesAreNotSavedAgain) {
    UserDefaults defaults = makeDefaults();
    defaults.setObject("A", 1);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    write(Dictionary{{"A", 2}});
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"A", 2}}));
}

TEST_F(UserDefaultsSynchronize, UnchangedFileIsNotReplaced) {
    write(Dictionary{{"A", 1}});
    const ino_t before = disk.status(kFile).st_ino;
    EXPECT_EQ(save("A", 1), std::nullopt);
    EXPECT_EQ(disk.status(kFile).st_ino, before);
    EXPECT_EQ(save("A", true), std::nullopt) << "another kind is a change";
    EXPECT_NE(disk.status(kFile).st_ino, before);
}

TEST_F(UserDefaultsSynchronize, DamagedFileIsKeptAside) {
    disk.makeFile(kFile, "<plist><dict><key>half");
    UserDefaults defaults = makeDefaults();
    defaults.setObject("A", 1);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}}));
    EXPECT_EQ(disk.read(std::string(kFile) + ".damaged"), "<plist><dict><key>half");
    EXPECT_EQ(problems.take().size(), 1u);
}

TEST_F(UserDefaultsSynchronize, EachDamagedFileKeepsACopyOfItsOwn) {
    for (const char* damage : {"first", "second", "third"}) {
        disk.makeFile(kFile, damage);
        EXPECT_EQ(save("A", 1), std::nullopt);
    }
    EXPECT_EQ(disk.read(std::string(kFile) + ".damaged"), "first");
    EXPECT_EQ(disk.read(std::string(kFile) + ".damaged-2"), "second");
    EXPECT_EQ(disk.read(std::string(kFile) + ".damaged-3"), "third");
}

TEST_F(UserDefaultsSynchronize, NinthDamagedFileTakesThePlaceOfACopy) {
    for (int number = 1; number <= 9; ++number) {
        disk.makeFile(kFile, "damage " + std::to_string(number));
        EXPECT_EQ(save("A", 1), std::nullopt);
    }
    std::set<std::string> copies;
    for (const auto& entry : std::filesystem::directory_iterator(disk.host("/Preferences")))
        if (entry.path().string().find(".damaged") != std::string::npos)
            copies.insert(disk.read("/Preferences/" + entry.path().filename().string()));
    EXPECT_EQ(copies.size(), 8u);
    EXPECT_TRUE(copies.contains("damage 9"));
}

TEST_F(UserDefaultsSynchronize, FolderAndFifoInPlaceOfTheFileAreKeptAside) {
    disk.makeFile(std::string(kFile) + "/inside", "x");
    EXPECT_EQ(save("A", 1), std::nullopt);
    EXPECT_TRUE(disk.exists(std::string(kFile) + ".damaged/inside"));
    std::filesystem::remove_all(disk.host(kFile));
    std::filesystem::remove_all(disk.host(std::string(kFile) + ".damaged"));
    ::mkfifo(disk.host(kFile).c_str(), 0600);
    EXPECT_EQ(save("B", 2), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"B", 2}}));
}

TEST_F(UserDefaultsSynchronize, FileWithoutPermissionStaysAndTheSaveFails) {
    write(Dictionary{{"A", 1}});
    ::chmod(disk.host(kFile).c_str(), 0000);
    EXPECT_TRUE(disk.holdsForOrdinaryUser(
        [&] { return save("B", 2) == Error::posix(EACCES) && disk.count("/Preferences") == 2; }));
    ::chmod(disk.host(kFile).c_str(), 0600);
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}}));
}

TEST_F(UserDefaultsSynchronize, LinkStaysAndItsTargetIsReplaced) {
    disk.makeFile("/Elsewhere/real.plist", platform::writePropertyList(Dictionary{{"A", 1}}));
    disk.makeFolder("/Preferences");
    disk.makeLink(kFile, "../Elsewhere/real.plist");
    EXPECT_EQ(save("B", 2), std::nullopt);
    EXPECT_TRUE(S_ISLNK(disk.status(kFile).st_mode));
    EXPECT_TRUE(S_ISREG(disk.status("/Elsewhere/real.plist").st_mode));
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}, {"B", 2}}));
}

TEST_F(UserDefaultsSynchronize, DanglingLinkGetsItsTargetAndALoopIsAnError) {
    disk.makeFolder("/Preferences");
    disk.makeLink(kFile, disk.host("/Preferences/real.plist"));
    EXPECT_EQ(save("A", 1), std::nullopt);
    EXPECT_TRUE(disk.exists("/Preferences/real.plist"));
    std::filesystem::remove(disk.host(kFile));
    disk.makeLink(kFile, "com.test.plist");
    EXPECT_EQ(save("A", 1), Error::posix(ELOOP));
}

TEST_F(UserDefaultsSynchronize, ReadOnlyFolderKeepsTheChangesPending) {
    write(Dictionary{{"A", 1}});
    ::chmod(disk.host("/Preferences").c_str(), 0555);
    EXPECT_TRUE(disk.holdsForOrdinaryUser([&] {
        UserDefaults defaults = makeDefaults();
        defaults.setObject("A", 2);
        const auto first = defaults.synchronize();
        const bool visible = defaults.objectForKey("A") == Value(2);
        ::chmod(disk.host("/Preferences").c_str(), 0755);
        const auto second = defaults.synchronize();
        return first == Error::posix(EACCES) && visible && !second;
    }));
    EXPECT_EQ(file(), Value(Dictionary{{"A", 2}}));
}

TEST_F(UserDefaultsSynchronize, FolderThatCannotBeMadeIsAnError) {
    disk.makeFile("/Preferences", "a file");
    UserDefaults defaults = makeDefaults();
    defaults.setObject("A", 1);
    EXPECT_EQ(defaults.synchronize(), Error::posix(EEXIST));
    EXPECT_EQ(defaults.objectForKey("A"), Value(1));
}

TEST_F(UserDefaultsSynchronize, FullDiskLeavesTheFileAndKeepsTheChangesPending) {
    write(Dictionary{{"A", 1}});
    UserDefaults defaults = makeDefaults();
    defaults.setObject("B", std::string(5000, 'x'));
    std::optional<Error> error;
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, 1000);
        error = defaults.synchronize();
    }
    EXPECT_EQ(error, Error::posix(EFBIG));
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}}));
    EXPECT_EQ(disk.count("/Preferences"), 2u);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file().dictionary()->size(), 2u);
}

TEST_F(UserDefaultsSynchronize, FullDiskLeavesADamagedFileInItsPlace) {
    disk.makeFile(kFile, "damaged");
    UserDefaults defaults = makeDefaults();
    defaults.setObject("B", std::string(5000, 'x'));
    {
        const LoweredLimit fileSize(RLIMIT_FSIZE, 1000);
        EXPECT_EQ(defaults.synchronize(), Error::posix(EFBIG));
    }
    EXPECT_EQ(disk.read(kFile), "damaged");
}

TEST_F(UserDefaultsSynchronize, WantOfDescriptorsDoesNotCountAsDamage) {
    write(Dictionary{{"A", 1}});
    UserDefaults defaults = makeDefaults();
    defaults.setObject("B", 2);
    const int next = ::dup(0);
    ::close(next);
    std::optional<Error> error;
    {
        const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next + 1));
        error = defaults.synchronize();  // the lock takes the last one
    }
    EXPECT_EQ(error, Error::posix(EMFILE));
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}}));
    EXPECT_FALSE(disk.exists(std::string(kFile) + ".damaged"));
}

TEST_F(UserDefaultsSynchronize, ListThatCouldNotBeReadAgainIsRefused) {
    write(Dictionary{{"A", 1}});
    Value deep = "bottom";
    for (int i = 0; i < platform::kMaximumPropertyListDepth + 1; ++i) deep = Array{std::move(deep)};
    EXPECT_TRUE(save("deep", deep).has_value());
    EXPECT_EQ(file(), Value(Dictionary{{"A", 1}}));
}

TEST_F(UserDefaultsSynchronize, LinkInPlaceOfTheLockIsNotFollowed) {
    disk.makeFolder("/Preferences");
    disk.makeLink("/Preferences/.com.test.lock", "../victim");
    EXPECT_EQ(save("A", 1), Error::posix(ELOOP));
    EXPECT_FALSE(disk.exists("/victim"));
}

}  // namespace
}  // namespace quillmore::tests
