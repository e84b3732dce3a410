// Which folders are asked of the system, where what comes of it does not tell.
#include "tests/Common/Tools/integrity/UnzipFixture.h"
#include "tests/fakes/SystemCalls.h"

namespace quillmore::tests {
namespace {

class UnzipCalls : public Unzip {
protected:
    struct Manager : UnzipManager {
        using UnzipManager::makedir;
        using UnzipManager::UnzipManager;
    };
    /// How many folders are tried for a path whose parent is missing.
    int triesFor(const std::string& name) {
        fs::remove_all(at("top"));
        whenCallIs(1, Step::passes);
        EXPECT_EQ(Manager(at("none.zip")).makedir(at(name).c_str()), 1);
        EXPECT_TRUE(fs::is_directory(at("top/a")));
        return callsSoFar();
    }
};

TEST_F(UnzipCalls, FolderPathLosesOneSlashAtItsEndAndNoMore) {
    const int tries = triesFor("top/a");
    EXPECT_EQ(triesFor("top/a/"), tries);
    EXPECT_EQ(triesFor("top/a//"), tries + 1);
    EXPECT_EQ(triesFor("top/a///"), tries + 2);
}

}  // namespace
}  // namespace quillmore::tests
