#include "Platform/Processes/Module.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Processes/probe/TestModule.h"

namespace quillmore::tests {
namespace {

using testing::HasSubstr;

class Module : public testing::Test {
protected:
    /// Lays a library where the module is looked for: one that no other test has opened.
    void lay(const char* library) const { std::filesystem::copy_file(library, path); }
    /// Null on a failure, which `problem` then tells.
    const TestFunctions* open() {
        const auto opened = module.open();
        problem = opened ? "" : opened.error().localizedDescription();
        return opened ? *opened : nullptr;
    }
    bool isMapped() const { return ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD) != nullptr; }

    TemporaryFiles temporary;
    const std::string path = temporary.host("/module");
    platform::Module<TestFunctions> module{path, kTestEntryPoint, kTestVersion};
    std::string problem;
};

TEST_F(Module, TableIsWhatTheEntryPointGives) {
    lay(QUILLMORE_TEST_MODULE);
    const TestFunctions* const table = open();
    ASSERT_NE(table, nullptr) << problem;
    EXPECT_EQ(table->version, kTestVersion);
    EXPECT_EQ(problem, "");
}

TEST_F(Module, LibraryIsMappedByTheFirstOpeningOnlyAndStays) {
    lay(QUILLMORE_TEST_MODULE);
    {
        platform::Module<TestFunctions> passing(path, kTestEntryPoint, kTestVersion);
        EXPECT_FALSE(isMapped());
        ASSERT_TRUE(passing.open());
    }
    EXPECT_TRUE(isMapped());
}

TEST_F(Module, EntryPointIsAskedOnce) {
    lay(QUILLMORE_TEST_MODULE);
    const TestFunctions* const table = open();
    ASSERT_NE(table, nullptr) << problem;
    EXPECT_EQ(open(), table);
    EXPECT_EQ(table->timesAsked, 1);
}

TEST_F(Module, MissingLibraryIsSaidByItsPath) {
    EXPECT_EQ(open(), nullptr);
    EXPECT_THAT(problem, HasSubstr(path));
    EXPECT_THAT(problem, testing::Not(HasSubstr("version")));
}

TEST_F(Module, FileThatIsNoLibraryIsSaidByItsPath) {
    temporary.makeFile("/module", "text");
    EXPECT_EQ(open(), nullptr);
    EXPECT_THAT(problem, HasSubstr(path));
    EXPECT_THAT(problem, testing::Not(HasSubstr("version")));
}

TEST_F(Module, AnotherVersionIsRefused) {
    lay(QUILLMORE_TEST_MODULE_OF_ANOTHER_VERSION);
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(problem, path + ": is not of this version");
}

TEST_F(Module, LibraryWithoutTheEntryPointIsRefused) {
    lay(QUILLMORE_TEST_MODULE_WITHOUT_ENTRY_POINT);
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(problem, path + ": is not of this version");
}

TEST_F(Module, EntryPointThatGivesNothingIsRefused) {
    lay(QUILLMORE_TEST_MODULE_WITHOUT_TABLE);
    EXPECT_EQ(open(), nullptr);
    EXPECT_EQ(problem, path + ": is not of this version");
}

TEST_F(Module, FailureIsTriedAgain) {
    EXPECT_EQ(open(), nullptr);
    lay(QUILLMORE_TEST_MODULE);
    EXPECT_NE(open(), nullptr) << problem;
}

TEST_F(Module, ThreadsThatOpenItTogetherGetTheSame) {
    lay(QUILLMORE_TEST_MODULE);
    std::vector<const TestFunctions*> tables(4);
    std::vector<std::thread> threads;
    for (const TestFunctions*& table : tables)
        threads.emplace_back([this, &table] {
            if (const auto opened = module.open()) table = *opened;
        });
    for (std::thread& thread : threads) thread.join();
    ASSERT_NE(tables.front(), nullptr);
    EXPECT_THAT(tables, testing::Each(tables.front()));
    EXPECT_EQ(tables.front()->timesAsked, 1);
}

}  // namespace
}  // namespace quillmore::tests
