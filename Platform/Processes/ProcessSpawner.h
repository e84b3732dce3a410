// Port: starting child processes and learning how they ended. The one body, PosixProcessSpawner, is
// shared by every Unix; abstract so that tests can record what is started (FakeProcessSpawner).
#pragma once

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillmore::platform {

/// What a child is started with. Every descriptor but the standard ones is closed in the child, its
/// signals are unblocked and at their defaults.
struct ProcessRequest {
    static constexpr int kInherit = -1;

    std::string launchPath;              ///< Absolute; not searched for in PATH.
    std::vector<std::string> arguments;  ///< Without the program's name, which is the launch path.
    int standardInput = kInherit;        ///< A descriptor of the caller, copied for the child.
    int standardOutput = kInherit;
    int standardError = kInherit;
    enum class Session { caller, own } session = Session::caller;
    std::optional<std::vector<std::string>>
        environment;  ///< "NAME=value"; the caller's when absent.
};

/// How a child ended.
struct ProcessEnd {
    bool signalled = false;
    int value = 0;  ///< The exit status, or the number of the signal.
    /// The exit status; of a child killed by a signal the signal's number, as the platform gives
    /// it.
    int terminationStatus() const { return value; }
    bool succeeded() const { return !signalled && value == 0; }
};

class ProcessSpawner {
public:
    virtual ~ProcessSpawner() = default;

    /// Starts a child. Raises an Exception named NSInvalidArgumentException with the reason "launch
    /// path not accessible" (nothing there, or not executable) or "Couldn't launch \"PATH\"
    /// (MESSAGE)".
    virtual pid_t spawn(const ProcessRequest& request) = 0;
    /// Blocks until the child has ended and takes its end. Raises an Exception when it is not a
    /// child.
    virtual ProcessEnd wait(pid_t process) = 0;
    /// The child's end if it has ended, without blocking.
    virtual std::optional<ProcessEnd> poll(pid_t process) = 0;
    /// Nobody will wait: the child is taken off the process table when it ends, leaving no zombie.
    virtual void abandon(pid_t process) = 0;
};

/// The real one.
std::unique_ptr<ProcessSpawner> makePosixProcessSpawner();

}  // namespace quillmore::platform
