#include "Platform/Processes/Executable.h"

#include <filesystem>

#include "tests/Platform/Files/TemporaryFiles.h"
#include "tests/Platform/Mac/AppleTest.h"

namespace quillmore::tests {
namespace {

class MacExecutable : public AppleTest {};

TEST_F(MacExecutable, LinksOnTheWayAreResolved) {
    const TemporaryFiles temporary;
    temporary.makeFile("/Real.app/Quillmore", "program");
    temporary.makeLink("/Link.app", "Real.app");
    const std::string real = std::filesystem::canonical(temporary.host("/Real.app/Quillmore"));
    apple::kernelDouble().executablePath = temporary.host("/Link.app/../Link.app/Quillmore");
    EXPECT_EQ(platform::executablePathOfThisProcess(), real);
}

TEST_F(MacExecutable, ProgramThatIsGoneHasNoPath) {
    apple::kernelDouble().executablePath = "/nowhere/Quillmore.app/Contents/MacOS/Quillmore";
    EXPECT_EQ(platform::executablePathOfThisProcess(), std::nullopt);
}

}  // namespace
}  // namespace quillmore::tests
