// A root tool that is replaced may be held open by anybody and run as long as it has its bit: at no
// step of the run that replaces it does it have that when it is not the installed one any more.
#include <fcntl.h>
#include <sys/wait.h>

#include "Platform/Files/FileDescriptor.h"
#include "tests/UpdateTool/UpdateToolMachine.h"
#include "tests/fakes/SystemCalls.h"

namespace quillmore::tests {
namespace {

class ReplacedTool : public UpdateToolMachine, public testing::WithParamInterface<bool> {
protected:
    const std::string tool = kProduct + "/tool";

    void installOld() {
        std::filesystem::remove_all(host(kProduct));
        ASSERT_EQ(run({"repairotherroot", "/old/tool", "/old/tool.sig"}), EX_OK) << errors;
    }
    /// False when the run came to its end.
    bool replaceKilledAt(int step) {
        const pid_t child = ::fork();
        if (child == 0) {
            whenCallIs(step, Step::killsTheProcess);
            run({"repairotherroot", "/new/tool", "/new/tool.sig"});
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WEXITSTATUS(status) == kKilledStatus;
    }
    bool isInstalled(const struct stat& file) const {
        struct stat status {};
        return ::lstat(host(tool).c_str(), &status) == 0 && status.st_ino == file.st_ino;
    }
};

TEST_P(ReplacedTool, HasNoBitOnceItIsNotTheInstalledOne) {
    makeSigned("/old/tool", "old", "repairotherroot", "tool");
    makeSigned("/new/tool", "new", "repairotherroot", "tool");
    supportExchange(GetParam());
    int replaced = 0;
    bool isKilled = true;
    for (int step = 1; isKilled; ++step) {
        installOld();
        const platform::FileDescriptor held(::open(host(tool).c_str(), O_RDONLY | O_CLOEXEC));
        isKilled = replaceKilledAt(step);
        struct stat old {};
        ASSERT_EQ(::fstat(held.get(), &old), 0);
        if (isInstalled(old)) continue;
        ++replaced;
        EXPECT_EQ(old.st_mode & S_ISUID, 0u) << "killed at step " << step;
    }
    EXPECT_GT(replaced, 1);
    supportExchange(true);
}

INSTANTIATE_TEST_SUITE_P(Volumes, ReplacedTool, testing::Bool(), [](const auto& exchange) {
    return exchange.param ? "WithExchange" : "WithoutExchange";
});

}  // namespace
}  // namespace quillmore::tests
