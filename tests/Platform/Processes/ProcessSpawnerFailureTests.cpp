// What a start that fails says.
#include "tests/Platform/Processes/ProcessSpawnerFixture.h"

namespace quillmore::tests {
namespace {

constexpr const char* kNotAccessible = "launch path not accessible";

TEST_F(ProcessSpawner, MissingPathIsNotAccessible) {
    EXPECT_EQ(reasonForPath("/no/such/program"), kNotAccessible);
    EXPECT_EQ(reasonForPath(""), kNotAccessible);
}

TEST_F(ProcessSpawner, PathThroughAFileIsNotAccessible) {
    EXPECT_EQ(reasonForPath("/bin/sh/program"), kNotAccessible);
}

TEST_F(ProcessSpawner, FolderIsNotAccessible) {
    EXPECT_EQ(reasonForPath(folder_), kNotAccessible);
}

TEST_F(ProcessSpawner, FileWithoutExecutePermissionIsNotAccessible) {
    EXPECT_EQ(reasonForPath(makeFile("#!/bin/sh\n", 0644)), kNotAccessible);
}

TEST_F(ProcessSpawner, ScriptWithoutItsInterpreterIsNotAccessible) {
    EXPECT_EQ(reasonForPath(makeFile("#!/no/such/shell\n", 0755)), kNotAccessible);
}

TEST_F(ProcessSpawner, PathIsNotReadOnlyUpToAZeroByte) {
    using namespace std::string_literals;
    EXPECT_EQ(reasonForPath("/bin/true\0.txt"s), kNotAccessible);
}

TEST_F(ProcessSpawner, ArgumentIsNotReadOnlyUpToAZeroByte) {
    using namespace std::string_literals;
    ProcessRequest request = shell("exit 0");
    request.arguments.push_back("/half\0/of it"s);
    EXPECT_EQ(reasonFor(request), "Couldn't launch \"/bin/sh\" (Invalid argument)");
}

TEST_F(ProcessSpawner, TextWithoutInterpreterLineCannotBeLaunched) {
    const std::string path = makeFile("exit 0\n", 0755);
    EXPECT_EQ(reasonForPath(path), "Couldn't launch \"" + path + "\" (Exec format error)");
}

TEST_F(ProcessSpawner, BadStreamIsNamedInTheReason) {
    ProcessRequest request = shell("exit 0");
    request.standardOutput = 799;
    EXPECT_EQ(reasonFor(request), "Couldn't launch \"/bin/sh\" (Bad file descriptor)");
}

}  // namespace
}  // namespace quillmore::tests
