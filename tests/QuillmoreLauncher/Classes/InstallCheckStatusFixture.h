// Catalogue entries for the status rules, and the outcome of a check.
#pragma once

#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {

inline constexpr const char* kTool = "/Library/Tools/t";
inline constexpr const char* kBundle = "/Library/Filesystems/fs.fs";

class InstallCheckStatus : public LauncherFixture {
protected:
    static platform::Dictionary tool(const char* type = "QMTool") {
        return {{"Type", type}, {"Name", "t"}, {"InstallPath", kTool}};
    }
    static platform::Dictionary bundle(const char* name = "QuillmoreFS") {
        return {{"Type", "Bundle"}, {"Name", name}, {"InstallPath", kBundle}, {"Version", "2.1.0"}};
    }
    static platform::Dictionary finderItem(const char* type) {
        return {{"Type", type}, {"Name", "f"}, {"InstallPath", "/Library/F.bundle"}};
    }
    struct Counts {
        std::int32_t repairs, missing;
        bool fileSystem, helper;
        bool operator==(const Counts&) const = default;
    };
    static constexpr Counts kNothing{0, 0, false, false};
    static constexpr Counts kCounted{1, 1, false, true};
    static Counts counts() {
        return {state().numberRepairsRequired, state().numberItemsMissing,
                state().m_MacFuseRepairRequired, state().m_HelperRepairRequired};
    }
    /// The status and the counts of a catalogue of one item.
    void expectStatus(const platform::Dictionary& item, const char* status, Counts expected) {
        makeCatalogue({item});
        EXPECT_THAT(updatedStatuses(), testing::ElementsAre(status));
        EXPECT_EQ(counts(), expected);
    }
};

}  // namespace quillmore::tests
