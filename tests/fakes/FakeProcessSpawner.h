// ProcessSpawner double: records what is started; a child writes its text, runs its effect and ends
// at once. A path that was not taught raises as a missing program does.
#pragma once

#include <unistd.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Values/Exception.h"

namespace quillmore::tests {

class FakeProcessSpawner final : public platform::ProcessSpawner {
public:
    struct Child {
        std::string output;  ///< Less than a pipe holds.
        platform::ProcessEnd end;
        std::function<void(const platform::ProcessRequest&)> effect;
    };

    /// What the program at a path does from now on.
    void teach(const std::string& path, Child child) { taught_[path] = std::move(child); }
    /// What a command line (path and arguments joined by blanks) does; goes before the path alone.
    void teachCommand(const std::string& line, Child child) {
        taughtLines_[line] = std::move(child);
    }

    /// Path and arguments of every start, joined by blanks.
    std::vector<std::string> started;
    std::vector<platform::ProcessRequest> requests;
    std::vector<pid_t> abandoned;

    pid_t spawn(const platform::ProcessRequest& request) override {
        std::string line = request.launchPath;
        for (const std::string& argument : request.arguments) line += " " + argument;
        started.push_back(line);
        requests.push_back(request);
        const Child* child = nullptr;
        if (auto exact = taughtLines_.find(line); exact != taughtLines_.end())
            child = &exact->second;
        else if (auto path = taught_.find(request.launchPath); path != taught_.end())
            child = &path->second;
        if (child == nullptr) {
            throw platform::Exception(platform::kInvalidArgumentException,
                                      "launch path not accessible");
        }
        if (request.standardOutput >= 0 && !child->output.empty()) {
            [[maybe_unused]] auto written =
                ::write(request.standardOutput, child->output.data(), child->output.size());
        }
        if (child->effect) child->effect(request);
        ends_[++lastProcess_] = child->end;
        return lastProcess_;
    }
    /// How a child ends that somebody else started.
    void setEnd(pid_t process, platform::ProcessEnd end) { ends_[process] = end; }

    platform::ProcessEnd wait(pid_t process) override {
        const auto found = ends_.find(process);
        if (found == ends_.end()) {
            throw platform::Exception(platform::kInvalidArgumentException,
                                      "Couldn't wait for process " + std::to_string(process));
        }
        return found->second;
    }
    std::optional<platform::ProcessEnd> poll(pid_t process) override { return wait(process); }
    void abandon(pid_t process) override { abandoned.push_back(process); }

private:
    std::map<std::string, Child> taught_;
    std::map<std::string, Child> taughtLines_;
    std::map<pid_t, platform::ProcessEnd> ends_;
    pid_t lastProcess_ = 1000;
};

}  // namespace quillmore::tests
