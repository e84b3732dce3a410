// A settings file that could not be read is not an empty one.
#include <gtest/gtest.h>

#include "Platform/Formats/PropertyList.h"
#include "Platform/Settings/UserDefaults.h"
#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using platform::Array;
using platform::Dictionary;
using platform::Error;
using platform::UserDefaults;
using platform::Value;

constexpr const char* kFile = "/Preferences/com.test.plist";

class UserDefaultsUnread : public testing::Test {
protected:
    UserDefaultsUnread() {
        disk.makeFile(kFile, platform::writePropertyList(Dictionary{{"List", Array{"a", "b"}}}));
    }
    Value file() const {
        const auto list = platform::readPropertyList(disk.files, kFile);
        return list ? *list : Value();
    }
    /// Runs the body while the process may open no more files.
    template <class Body>
    static auto withoutDescriptors(Body body) {
        const int next = ::dup(0);
        ::close(next);
        const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next));
        return body();
    }
    static std::optional<Value> appendC(const std::optional<Value>& current) {
        Array list = current && current->array() != nullptr ? *current->array() : Array();
        list.emplace_back("c");
        return list;
    }
    TemporaryFiles disk;
    RecordingProblems problems;
    UserDefaults defaults{disk.files, "/Preferences", "com.test", {}, problems};
};

TEST_F(UserDefaultsUnread, IsReadAgainAtTheNextQuestion) {
    const auto unread = withoutDescriptors([&] { return defaults.arrayForKey("List"); });
    EXPECT_EQ(unread, std::nullopt);
    EXPECT_EQ(problems.take().size(), 2u) << "both files are named";
    EXPECT_EQ(defaults.arrayForKey("List"), (Array{"a", "b"}));
    EXPECT_EQ(problems.take().size(), 0u);
}

TEST_F(UserDefaultsUnread, ValueThatRestsOnTheFailedReadingIsNotSaved) {
    withoutDescriptors([&] { return defaults.arrayForKey("List"); });
    EXPECT_TRUE(defaults.wasAskedInVain("List"));
    defaults.setObject("List", Array{"c"});
    EXPECT_EQ(defaults.synchronize(), Error::posix(EMFILE));
    EXPECT_EQ(defaults.synchronize(), Error::posix(EMFILE)) << "still pending";
    EXPECT_EQ(file(), Value(Dictionary{{"List", Array{"a", "b"}}}));

    EXPECT_EQ(defaults.arrayForKey("List"), (Array{"a", "b"})) << "asked for again";
    defaults.setObject("List", Array{"a", "b", "c"});
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"List", Array{"a", "b", "c"}}}));
}

TEST_F(UserDefaultsUnread, ValueThatNobodyAskedForIsSaved) {
    withoutDescriptors([&] { return defaults.arrayForKey("List"); });
    defaults.setObject("Other", 1);
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"List", Array{"a", "b"}}, {"Other", 1}}));
}

TEST_F(UserDefaultsUnread, EditWaitsForTheValueAndIsMadeOfIt) {
    const auto error = withoutDescriptors([&] {
        defaults.editObject("List", appendC);
        return defaults.synchronize();
    });
    EXPECT_EQ(error, Error::posix(EMFILE));
    EXPECT_EQ(file(), Value(Dictionary{{"List", Array{"a", "b"}}}));
    EXPECT_EQ(defaults.arrayForKey("List"), (Array{"a", "b", "c"}));
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(file(), Value(Dictionary{{"List", Array{"a", "b", "c"}}}));
}

TEST_F(UserDefaultsUnread, ValueKnownFromBeforeOutlivesAFailedReading) {
    EXPECT_EQ(defaults.arrayForKey("List"), (Array{"a", "b"}));
    const auto error = withoutDescriptors([&] { return defaults.synchronize(); });
    EXPECT_EQ(error, Error::posix(EMFILE));
    EXPECT_EQ(defaults.arrayForKey("List"), (Array{"a", "b"}));
}

TEST_F(UserDefaultsUnread, EditThatChangesNothingWritesNothing) {
    const ino_t before = disk.status(kFile).st_ino;
    defaults.editObject("List", [](const std::optional<Value>& current) { return current; });
    EXPECT_EQ(defaults.synchronize(), std::nullopt);
    EXPECT_EQ(disk.status(kFile).st_ino, before);
    EXPECT_EQ(disk.count("/Preferences"), 1u) << "no lock was taken";
}

}  // namespace
}  // namespace quillmore::tests
