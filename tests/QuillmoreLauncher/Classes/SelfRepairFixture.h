// A catalogue with an item of every type, and what a repair run sends to the update tool.
#pragma once

#include "tests/fakes/LauncherFixture.h"

namespace quillmore::tests {

inline constexpr const char* kTool = "/Library/Tools/t";
inline constexpr const char* kFileSystem = "/Library/Filesystems/fs.fs";
inline constexpr const char* kPlugIn = "/Library/F.bundle";

class SelfRepair : public LauncherFixture {
protected:
    SelfRepair() { services.processes.teach(kUpdateTool, {kCurrentBanner, {}, {}}); }

    static platform::Dictionary updateTool(const char* type = "QMToolRoot") {
        return {{"Type", type},
                {"Name", "updateqm"},
                {"Resource", "updateqm"},
                {"Signature", "updateqm.sig"},
                {"InstallPath", kUpdateTool}};
    }
    static platform::Dictionary core() {
        return {{"Type", "CoreApp"}, {"Name", "core"}, {"Resource", "core"}};
    }
    static platform::Dictionary tool(const char* type = "QMTool") {
        return {{"Type", type},
                {"Name", "t"},
                {"Resource", "t.zip"},
                {"Signature", "t.sig"},
                {"InstallPath", kTool}};
    }
    static platform::Dictionary package(const char* type = "Bundle") {
        return {{"Type", type},
                {"Name", "QuillmoreFS"},
                {"InstallPath", kFileSystem},
                {"Version", "2.0.0"},
                {"Installer", "fs.pkg"}};
    }
    static platform::Dictionary zipItem(const char* type) {
        return {{"Type", type},
                {"Name", "f"},
                {"Resource", "f.zip"},
                {"Signature", "f.sig"},
                {"InstallPath", kPlugIn}};
    }
    /// Checks a catalogue, so that a run has its statuses.
    void check(const std::vector<platform::Dictionary>& items) {
        makeCatalogue(items);
        manager().updateStatus();
        services.processes.started.clear();
    }
    /// The command lines that a run sends to the installed update tool.
    std::vector<std::string> run() {
        manager().runSelfRepairThread();
        return commands();
    }
    std::vector<std::string> commands() const {
        std::vector<std::string> lines;
        const std::string start = std::string(kUpdateTool) + " ";
        for (const std::string& text : services.processes.started)
            if (text.starts_with(start)) lines.push_back(text.substr(start.size()));
        return lines;
    }
    /// True when the work left for the main thread is the failure report; otherwise it must be
    /// the end of a successful run, which ends the process here: everything is in order.
    bool reportsFailure() {
        EXPECT_EQ(services.application.queued(), 1U);
        try {
            services.application.runMainQueue();
        } catch (const Termination& termination) {
            EXPECT_TRUE(termination.requested);
            EXPECT_TRUE(services.userInterface.alertSheets.empty());
            return false;
        }
        return services.userInterface.alertSheets.size() == 1;
    }
    std::string r(const std::string& name) const { return resource(name); }
};

}  // namespace quillmore::tests
