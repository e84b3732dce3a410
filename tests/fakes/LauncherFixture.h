// What every test of the launcher starts from: services, a string table, all log lines on the
// terminal, a file manager whose owners and failures the test sets, and words for a catalogue.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/utils/Logging.h"
#include "Common/utils/ProblemLog.h"
#include "QuillmoreLauncher/Classes/InstallCheckManager.h"
#include "tests/fakes/FaultyFileManager.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {

inline constexpr const char* kUpdateTool = "/Library/Application Support/Quillmore/updateqm";
inline constexpr const char* kOverlayTool =
    "/Library/Application Support/Quillmore/finderoverlaytool";
inline constexpr const char* kCurrentBanner = "Tool (C) Quillmore Limited 1.15.4.1856\n";
inline constexpr const char* kOldBanner = "Tool (C) Quillmore Limited 1.14.9.9\n";

class LauncherFixture : public testing::Test {
protected:
    LauncherFixture() {
        services.set.makeFileManager = [this] {
            return std::make_unique<FaultyFileManager>(services.root.path(), faults);
        };
        platform::SharedInstanceBase::forgetAll();
        services.makeResource("en.lproj/Localizable.strings", std::string(R"(
            "ProductName" = "Quillmore";
            "QuillmoreLauncher_RepairInfo" = "Info.";
            "QuillmoreLauncher_Components" = " Components:";
            "QuillmoreLauncher_FileSystem" = " file system";
            "QuillmoreLauncher_Helpers" = " helpers";
        )"));
        initLogging(kLogLevelDetailed, kLogLevelDetailed, std::nullopt);
        output.take();
    }
    ~LauncherFixture() override { initLogging(kLogLevelNormal, kLogLevelNormal, std::nullopt); }

    /// "(vrb) text" of every line that the log wrote since the last call, errors last.
    std::vector<std::string> logLines() {
        const CapturedOutput::Streams streams = output.take();
        std::vector<std::string> lines;
        for (const std::string& text : {streams.standardOutput, streams.standardError}) {
            std::istringstream stream(text);
            for (std::string line; std::getline(stream, line);)
                lines.push_back(withoutPrefix(line));
        }
        return lines;
    }

    void makeCatalogue(const std::vector<platform::Dictionary>& items) {
        platform::Array list(items.begin(), items.end());
        services.makeResource("RequiredItems.plist",
                              platform::Value(platform::Dictionary{{"RequiredItems", list}}));
    }
    static InstallCheckManager& manager() { return InstallCheckManager::sharedManager(); }
    static const InstallCheckState& state() { return manager().state(); }
    /// The status words after one update.
    static std::vector<std::string> updatedStatuses() {
        manager().updateStatus();
        return state().requiredItemsStatusList;
    }

    /// An installed program that prints something when it is run.
    void installTool(const std::string& path, const std::string& banner = kCurrentBanner,
                     mode_t mode = 0755, const std::string& owner = "root") {
        services.makeFile(path, "program", mode);
        faults->owners[path] = owner;
        services.processes.teach(path, {banner, {}, {}});
    }
    void installBundle(const std::string& path, const std::string& shortVersion) {
        services.makePropertyList(path + "/Contents/Info.plist",
                                  platform::Dictionary{{"CFBundleShortVersionString", shortVersion},
                                                       {"CFBundleVersion", "7"}});
    }
    std::string resource(const std::string& name) const {
        return services.bundle->resourcePath() + "/" + name;
    }

    std::shared_ptr<FileFaults> faults = std::make_shared<FileFaults>();
    ProblemLog problemLog;
    TestServices services{&problemLog};
    CapturedOutput output;

private:
    /// Drops date, process and thread: "DATE NAME[PID] (vrb) [THREAD] text".
    static std::string withoutPrefix(const std::string& line) {
        for (const char* tag : {"(ERR) [", "(nrm) [", "(vrb) [", "(dtl) ["}) {
            const std::size_t start = line.find(tag);
            if (start == std::string::npos) continue;
            return line.substr(start, 6) + line.substr(line.find("] ", start) + 2);
        }
        return line;
    }
};

}  // namespace quillmore::tests
