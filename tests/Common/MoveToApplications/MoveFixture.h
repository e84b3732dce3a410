// A launcher in the Downloads folder, and a machine whose Trash and administrator's tools do their
// work inside the test's root. At first an older copy that may be written lies in /Applications.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Common/MoveToApplications/PFMoveApplication+Steps.h"
#include "Common/MoveToApplications/PFMoveApplication.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/LockFile.h"
#include "tests/fakes/FaultyFileManager.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {

inline constexpr const char* kSource = "/Users/jo/Downloads/Quillmore.app";
inline constexpr const char* kDestination = "/Applications/Quillmore.app";
inline constexpr const char* kStaging = "/Applications/.Quillmore.app.partial";
inline constexpr const char* kDefaultsFile =
    "/Users/jo/Library/Preferences/com.quillmore.launcher.plist";

class MoveFixture : public testing::Test {
protected:
    MoveFixture() {
        services.set.makeFileManager = [this] {
            return std::make_unique<FaultyFileManager>(services.root.path(), faults);
        };
        services.makeFile(std::string(kDestination) + "/version", "old");
        startFrom(kSource);
        services.workspace.onRecycle = [this](const std::string& path) { return recycle(path); };
        services.authorization.onExecute = [this] { runTool(services.authorization.calls.back()); };
        services.processes.teach("/bin/sh", {});
        initLogging(kLogLevelDetailed, kLogLevelDetailed, std::nullopt);
        output.take();
    }
    ~MoveFixture() override { initLogging(kLogLevelNormal, kLogLevelNormal, std::nullopt); }

    void startFrom(const std::string& bundlePath) {
        services.makeFile(bundlePath + "/version", "new");
        services.bundle = std::make_unique<platform::Bundle>(
            services.files, bundlePath, std::vector<std::string>{"en"}, *services.set.problems);
        services.set.mainBundle = services.bundle.get();
        services.set.knownBundles = {services.bundle.get()};
        platform::SharedInstanceBase::forgetAll();
    }
    void makeReadOnly(const std::string& path) const { faults->readOnly.insert(path); }
    void makeApplication(const std::string& path) const {
        services.makeFile(path + "/version", "older");
    }
    /// Runs the whole; true when it ended the process to start the moved copy.
    bool moves() {
        try {
            PFMoveToApplicationsFolderIfNecessary();
        } catch (const Termination& end) {
            return end.requested && end.status == 0;
        }
        return false;
    }
    /// As another launcher of the user that moves does.
    platform::Result<platform::LockFile> takeLock() const {
        services.makeFolder("/Users/jo/Library/Caches");
        return platform::LockFile::take(
            services.host("/Users/jo/Library/Caches/Quillmore.move.lock"), {});
    }
    /// As when a launcher that was started twice has moved while this one waits for its answer.
    void losesItsSourceWhileItAsks() {
        services.userInterface.onModal = [this] {
            std::filesystem::remove_all(services.host(kSource));
        };
    }
    void answer(std::size_t button, bool suppressed = false) {
        services.userInterface.answers.push_back({button, suppressed});
    }
    const std::vector<platform::Alert>& alerts() const { return services.userInterface.alerts; }
    /// What the log says of a failed move, its last lines; fails unless the second alert is the
    /// failure's, which has no text of its own.
    std::string failureText() const {
        if (alerts().size() != 2 ||
            alerts()[1].messageText != "Could not move to Applications folder" ||
            !alerts()[1].informativeText.empty())
            return "no failure alert";
        std::string text;
        for (const std::string& line : linesOf(outputSoFar())) {
            const std::string message = line.substr(line.find(' ') + 1);
            if (message == "Moving myself to the Applications folder") text.clear();
            if (isOfFailure(message)) text += (text.empty() ? "" : "\n") + message;
        }
        return text;
    }
    std::string versionAt(const std::string& bundlePath) const {
        return services.read(bundlePath + "/version");
    }
    /// "(vrb) text" of every line of one sink since the last call.
    std::vector<std::string> logLines() { return linesOf(output.take().standardOutput); }
    std::vector<std::string> errorLines() { return linesOf(output.take().standardError); }

    std::shared_ptr<FileFaults> faults = std::make_shared<FileFaults>();
    TestServices services;
    CapturedOutput output;
    std::set<std::string> untrashable;
    /// How the administrator's tools end, in turn; well when empty. `toolsWork`: they do their
    /// work.
    std::deque<platform::ProcessEnd> toolEnds;
    bool toolsWork = true;

    static std::vector<std::string> linesOf(const std::string& text) {
        std::vector<std::string> lines;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            const std::size_t tag = line.find(" (");
            const std::size_t message = line.find("] ", line.find(" [", tag)) + 2;
            lines.push_back(line.substr(tag + 1, 6) + line.substr(message));
        }
        return lines;
    }

private:
    static bool isOfFailure(const std::string& message) {
        for (const char* part : {"\" is in the Trash.", "\" has been removed.",
                                 "\" is an incomplete copy.", "\" is no longer there."})
            if (message.ends_with(part)) return true;
        return message.starts_with("I am still at \"");
    }
    /// Of what is captured, without taking it: a child with mounts of its own cannot start anew.
    static std::string outputSoFar() {
        std::fflush(stdout);
        std::string text(1 << 20, '\0');
        const ssize_t size = ::pread(STDOUT_FILENO, text.data(), text.size(), 0);
        text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        return text;
    }

    bool recycle(const std::string& path) const {
        if (untrashable.contains(path)) return false;
        services.makeFolder("/Trash");
        std::string place = "/Trash" + path.substr(path.rfind('/'));
        while (services.exists(place)) place += ".2";
        std::filesystem::rename(services.host(path), services.host(place));
        return true;
    }
    void runTool(const std::string& call) {
        const std::string removal = "execute /bin/rm -rf ";
        if (toolsWork && call.starts_with(removal))
            std::filesystem::remove_all(services.host(call.substr(removal.size())));
        if (toolsWork && call.starts_with("execute /bin/cp -pR "))
            std::filesystem::copy(services.host(services.bundle->bundlePath()),
                                  services.host(call.substr(call.rfind(" /") + 1)),
                                  std::filesystem::copy_options::recursive);
        platform::ProcessEnd end;
        if (!toolEnds.empty()) end = toolEnds.front(), toolEnds.pop_front();
        services.processes.setEnd(services.authorization.process, end);
    }
};

}  // namespace quillmore::tests
