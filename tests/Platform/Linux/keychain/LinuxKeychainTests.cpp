// The keychain through a stand-in for its module. Apart from the other tests, because a module that
// was opened stays.
#include "Platform/Linux/LinuxKeychain.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/fakes/RecordingProblems.h"

namespace quillmore::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using namespace std::chrono_literals;

class LinuxKeychain : public testing::Test {
protected:
    LinuxKeychain() { use("fake"); }
    ~LinuxKeychain() override { ::unsetenv("QUILLMORE_TEST_SECRET_ANSWER"); }

    void use(const std::string& module) {
        keychain = std::make_unique<platform::LinuxKeychain>(platform::LinuxKeychainOptions{
            std::string(QUILLMORE_TEST_MODULES) + "/" + module, &problems, [this] { return now; }});
    }
    static void answer(const char* number) { ::setenv("QUILLMORE_TEST_SECRET_ANSWER", number, 1); }
    platform::OSStatus find(const std::string& account = "jo") {
        return keychain->findGenericPassword("S", account, item);
    }
    std::chrono::steady_clock::time_point now;
    RecordingProblems problems;
    std::unique_ptr<platform::Keychain> keychain;
    std::unique_ptr<platform::KeychainItem> item;
};

TEST_F(LinuxKeychain, EveryAnswerHasItsStatus) {
    const std::pair<const char*, platform::OSStatus> answers[] = {
        {"0", 0},      {"1", -25300}, {"2", -25299}, {"3", -25308},
        {"4", -25291}, {"5", -25304}, {"9", -25291}};
    for (const auto& [number, status] : answers) {
        now += 2s;  // nothing stands from the answer before
        answer(number);
        EXPECT_EQ(find(), status) << number;
        EXPECT_EQ(keychain->addGenericPassword("S", "jo", "x"), status) << number;
    }
}

TEST_F(LinuxKeychain, WithoutDescriptorsToSpareItIsNotAvailableAndTheReasonSaid) {
    answer("0");
    EXPECT_EQ(find(), 0);
    problems.take();
    const int next = ::dup(0);
    ::close(next);
    {
        const LoweredLimit descriptors(RLIMIT_NOFILE, static_cast<rlim_t>(next + 5));
        EXPECT_EQ(find(), platform::kKeychainNotAvailable);
    }
    EXPECT_THAT(problems.take(), ElementsAre("Secret Service: Too many open files"));
}

TEST_F(LinuxKeychain, CallsCarryServiceAccountItemAndData) {
    answer("0");
    ASSERT_EQ(find(), 0);
    keychain->addGenericPassword("S", "al", std::string_view("data and more", 4));
    keychain->modifyContent(*item, "new");
    keychain->deleteItem(*item);
    EXPECT_THAT(problems.take(), ElementsAre("Secret Service: find <S> <jo> <>",
                                             "Secret Service: add <S> <al> <> data",
                                             "Secret Service: modify <S> <jo> <name> new",
                                             "Secret Service: remove <S> <jo> <name>"));
}

TEST_F(LinuxKeychain, CopyReplacesTheDataOnSuccessOnly) {
    answer("0");
    ASSERT_EQ(find(), 0);
    std::string data = "before";
    answer("3");
    EXPECT_EQ(keychain->copyData(*item, data), platform::kKeychainInteractionNotAllowed);
    EXPECT_EQ(data, "before");
    now += 2s;
    answer("0");
    EXPECT_EQ(keychain->copyData(*item, data), 0);
    EXPECT_EQ(data, std::string("a\0b", 3));
}

TEST_F(LinuxKeychain, OutOfReachStandsForEveryCallThatFollowsAndNobodyIsAskedAgain) {
    for (const auto& [number, status] : {std::pair("3", -25308), std::pair("4", -25291)}) {
        answer("0");
        ASSERT_EQ(find(), 0);
        answer(number);
        std::string data;
        EXPECT_EQ(keychain->copyData(*item, data), status);
        answer("0");
        problems.take();
        now += 1999ms;
        EXPECT_EQ(find(), status);
        EXPECT_EQ(find("al"), status);
        EXPECT_EQ(keychain->copyData(*item, data), status);
        EXPECT_EQ(keychain->addGenericPassword("S", "jo", "x"), status);
        EXPECT_EQ(keychain->modifyContent(*item, "x"), status);
        EXPECT_EQ(keychain->deleteItem(*item), status);
        EXPECT_THAT(problems.take(), IsEmpty());
        now += 1ms;
        EXPECT_EQ(find(), 0);
    }
}

TEST_F(LinuxKeychain, OtherAnswersDoNotStand) {
    for (const char* number : {"1", "2", "5"}) {
        answer(number);
        EXPECT_NE(find(), 0);
        answer("0");
        EXPECT_EQ(find(), 0) << number;
    }
}

TEST_F(LinuxKeychain, ItemIsLeftAloneWhenNothingWasFound) {
    answer("1");
    find();
    EXPECT_EQ(item, nullptr);
}

TEST_F(LinuxKeychain, TextThatCannotBeAnAttributeIsABadParameter) {
    answer("0");
    for (const std::string& bad : {std::string("a\0b", 3), std::string("\xFF")}) {
        EXPECT_EQ(find(bad), platform::kKeychainBadParameter);
        EXPECT_EQ(keychain->addGenericPassword(bad, "jo", "x"), platform::kKeychainBadParameter);
    }
    EXPECT_THAT(problems.take(), IsEmpty());
}

TEST_F(LinuxKeychain, ItemOfAnotherKeychainIsInvalid) {
    platform::KeychainItem foreign;
    std::string data;
    EXPECT_EQ(keychain->modifyContent(foreign, "x"), platform::kKeychainInvalidItem);
    EXPECT_EQ(keychain->deleteItem(foreign), platform::kKeychainInvalidItem);
    EXPECT_EQ(keychain->copyData(foreign, data), platform::kKeychainInvalidItem);
}

TEST_F(LinuxKeychain, ModuleThatIsMissingOfAnotherVersionOrNoneIsNotAvailable) {
    answer("0");
    use("nowhere");
    EXPECT_EQ(find(), platform::kKeychainNotAvailable);
    EXPECT_THAT(problems.take(), ElementsAre(HasSubstr("libquillmore_secret.so")));
    for (const char* module : {"other_version", "no_module"}) {
        problems.take();
        use(module);
        EXPECT_EQ(find(), platform::kKeychainNotAvailable);
        EXPECT_THAT(problems.take(), ElementsAre(HasSubstr("is not of this version")));
    }
}

TEST_F(LinuxKeychain, NobodyNeedsToBeToldOfProblems) {
    platform::LinuxKeychain silent({.moduleFolder = "/nowhere"});
    EXPECT_EQ(silent.findGenericPassword("S", "jo", item), platform::kKeychainNotAvailable);
}

bool isMapped(const std::string& text) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find(text) != std::string::npos) return true;
    return false;
}

TEST_F(LinuxKeychain, LibsecretIsMappedByTheFirstCallOnlyAndAMissingBusIsNotAvailable) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus", 1);
    ::setenv("G_DEBUG", "fatal-warnings", 1);
    use("real");
    EXPECT_FALSE(isMapped("libglib"));
    EXPECT_FALSE(isMapped("libsecret"));
    EXPECT_EQ(find(), platform::kKeychainNotAvailable);
    EXPECT_TRUE(isMapped("libsecret"));
    EXPECT_THAT(problems.take(), ElementsAre(HasSubstr("Could not connect")));
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    ::unsetenv("G_DEBUG");
}

}  // namespace
}  // namespace quillmore::tests
