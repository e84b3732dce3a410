#include "Platform/Linux/LinuxSystemInformation.h"

#include <gtest/gtest.h>

#include <thread>

#include "tests/Platform/Linux/FakeProcFolder.h"

namespace quillmore::tests {
namespace {

using platform::fourCharCode;
using Version = std::vector<std::optional<std::int32_t>>;

class LinuxSystemInformation : public testing::Test {
protected:
    void writeVersionFile(const std::string& bytes) const {
        const std::string folder = root.path() + "/System/Library/CoreServices";
        std::filesystem::create_directories(folder);
        FakeProcFolder::write(folder + "/SystemVersion.plist", bytes);
    }
    void writeVersion(const platform::Value& version) const {
        writeVersionFile(
            platform::writePropertyList(platform::Dictionary{{"ProductVersion", version}}));
    }
    Version version() const {
        return {system.gestalt(fourCharCode("sys1")), system.gestalt(fourCharCode("sys2")),
                system.gestalt(fourCharCode("sys3"))};
    }

    TemporaryFolder root;
    platform::FileManager files{root.path()};
    FakeProcFolder proc;
    platform::LinuxSystemInformation system{files, proc.path(), "x86_64"};
};

TEST_F(LinuxSystemInformation, VersionPartsComeFromTheSystemVersionFile) {
    writeVersion("10.5.8");
    EXPECT_EQ(version(), (Version{10, 5, 8}));
}

TEST_F(LinuxSystemInformation, MissingThirdPartIsZero) {
    writeVersion("10.6");
    EXPECT_EQ(version(), (Version{10, 6, 0}));
}

TEST_F(LinuxSystemInformation, UnreadableVersionMakesEverySelectorFail) {
    const Version none(3);
    EXPECT_EQ(version(), none);
    for (const char* text : {"", "10", "10.", ".5", "10.5.8.1", "10.x", "ten", "10.5 ", "-1.2.3",
                             "10.-5", "99999999999.1"}) {
        writeVersion(text);
        EXPECT_EQ(version(), none) << text;
    }
    writeVersion(10.5);
    EXPECT_EQ(version(), none);
    writeVersionFile("rubbish");
    EXPECT_EQ(version(), none);
    writeVersionFile(platform::writePropertyList(platform::Array{}));
    EXPECT_EQ(version(), none);
}

TEST_F(LinuxSystemInformation, OtherSelectorsFail) {
    writeVersion("10.5.8");
    EXPECT_EQ(system.gestalt(fourCharCode("sysv")), std::nullopt);
}

TEST_F(LinuxSystemInformation, IntelMachinesWithASystemVersionFileAreArchitecture10) {
    EXPECT_EQ(system.gestalt(fourCharCode("sysa")), std::nullopt);
    writeVersion("10.5.8");
    for (const char* machine : {"x86_64", "i386", "i686"}) {
        const platform::LinuxSystemInformation intel(files, proc.path(), machine);
        EXPECT_EQ(intel.gestalt(fourCharCode("sysa")), 10) << machine;
    }
}

TEST_F(LinuxSystemInformation, OtherMachinesHaveNoArchitecture) {
    writeVersion("10.5.8");
    for (const char* machine : {"aarch64", "ppc64", "ia64", "i86", ""}) {
        const platform::LinuxSystemInformation other(files, proc.path(), machine);
        EXPECT_EQ(other.gestalt(fourCharCode("sysa")), std::nullopt) << machine;
    }
}

TEST_F(LinuxSystemInformation, ATracedProcessHasTheTracedFlag) {
    proc.writeOwnStatus("Name:\tTracerPid: 1\nTracerPid:\t4711\nUid:\t0\t0\t0\t0\n");
    EXPECT_EQ(system.processFlags(), platform::kProcessFlagTraced);
    proc.writeOwnStatus("Name:\tTracerPid: 1\nTracerPid:\t0\n");
    EXPECT_EQ(system.processFlags(), 0U);
}

TEST_F(LinuxSystemInformation, ProcessFlagsWithoutAStatusFileAreNothing) {
    EXPECT_EQ(system.processFlags(), std::nullopt);
    proc.writeOwnStatus("Name:\tx\n");
    EXPECT_EQ(system.processFlags(), std::nullopt);
}

TEST_F(LinuxSystemInformation, ThreadsHaveNumbersOfTheirOwn) {
    EXPECT_EQ(system.currentThreadPort(), static_cast<std::uint32_t>(::getpid()));
    std::uint32_t other = 0;
    std::thread([&] { other = system.currentThreadPort(); }).join();
    EXPECT_NE(other, 0U);
    EXPECT_NE(other, system.currentThreadPort());
}

TEST(LinuxMachineName, IsTold) {
    EXPECT_TRUE(platform::machineName().has_value());
}

}  // namespace
}  // namespace quillmore::tests
