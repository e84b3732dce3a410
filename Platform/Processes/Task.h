// A child process and the pipes to it. Used by one thread at a time.
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Files/Pipe.h"
#include "Platform/Processes/ProcessSpawner.h"

namespace quillmore::platform {

class Task {
public:
    explicit Task(ProcessSpawner& spawner) : spawner_(spawner) {}
    /// A task still running is abandoned: it goes on and leaves no zombie.
    ~Task();
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

    void setLaunchPath(std::string path) { request_.launchPath = std::move(path); }
    void setArguments(std::vector<std::string> arguments) {
        request_.arguments = std::move(arguments);
    }
    /// "NAME=value"; without, the child has this process's environment.
    void setEnvironment(std::vector<std::string> environment) {
        request_.environment = std::move(environment);
    }
    /// In a session of its own, streams without a pipe on /dev/null: the child outlives this
    /// process and its terminal, and nobody who reads this process's output waits for the child.
    void setDetached() { request_.session = ProcessRequest::Session::own; }
    /// The pipe must outlive the launch; its child end is closed in this process once the child
    /// runs.
    void setStandardOutput(Pipe& pipe) { standardOutput_ = &pipe; }
    void setStandardError(Pipe& pipe) { standardError_ = &pipe; }
    /// Null when none was set.
    Pipe* standardOutput() const { return standardOutput_; }
    Pipe* standardError() const { return standardError_; }

    /// Raises what ProcessSpawner::spawn raises; then the task counts as never started, and the
    /// pipes' child ends are closed all the same, so that a reader sees the end. Raises an
    /// Exception when the task was launched before.
    void launch();
    /// 0 before the launch.
    pid_t processIdentifier() const { return process_; }
    bool isRunning();
    /// Returns at once when the child has ended already. Raises an Exception before the launch.
    void waitUntilExit();
    /// Raises an Exception while the child runs and before the launch.
    int terminationStatus() const;
    const ProcessEnd& end() const;

private:
    const ProcessEnd* knownEnd() const;

    ProcessSpawner& spawner_;
    ProcessRequest request_;
    Pipe* standardOutput_ = nullptr;
    Pipe* standardError_ = nullptr;
    pid_t process_ = 0;
    mutable std::optional<ProcessEnd> end_;  ///< Learnt when somebody asks.
};

}  // namespace quillmore::platform
