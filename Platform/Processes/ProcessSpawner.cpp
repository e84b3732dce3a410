// Children by posix_spawn: on Linux it shares the parent's memory until the exec, so that a start
// costs the same however large this process is, and it reports a failed exec as an error number.

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Threads/Thread.h"
#include "Platform/Values/Exception.h"

extern "C" char** environ;

namespace quillmore::platform {

namespace {

[[noreturn]] void raiseNotStarted(const std::string& path, int error) {
    if (error == ENOENT || error == EACCES || error == ENOTDIR)
        throw Exception(kInvalidArgumentException, "launch path not accessible");
    throw Exception(kInvalidArgumentException, "Couldn't launch \"" + path + "\" (" +
                                                   std::generic_category().message(error) + ")");
}

bool holdsZero(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

class Attributes {
public:
    explicit Attributes(const ProcessRequest& request) : path_(request.launchPath) {
        check(::posix_spawnattr_init(&attributes_));
        // A blocked or ignored signal would be inherited: the child could not be ended politely.
        sigset_t signals;
        ::sigemptyset(&signals);
        check(::posix_spawnattr_setsigmask(&attributes_, &signals));
        ::sigfillset(&signals);
        ::sigdelset(&signals, SIGKILL);
        ::sigdelset(&signals, SIGSTOP);
        check(::posix_spawnattr_setsigdefault(&attributes_, &signals));
        int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        if (request.session == ProcessRequest::Session::own) flags |= POSIX_SPAWN_SETSID;
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
        flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
        check(::posix_spawnattr_setflags(&attributes_, static_cast<short>(flags)));
    }
    ~Attributes() {
        ::posix_spawnattr_destroy(&attributes_);
    }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    const posix_spawnattr_t* get() const {
        return &attributes_;
    }

private:
    void check(int error) const {
        if (error != 0) raiseNotStarted(path_, error);
    }
    const std::string& path_;
    posix_spawnattr_t attributes_;
};

/// What happens to the descriptors on the child's side.
class FileActions {
public:
    explicit FileActions(const ProcessRequest& request) : path_(request.launchPath) {
        check(::posix_spawn_file_actions_init(&actions_));
        setStream(request.standardInput, STDIN_FILENO);
        setStream(request.standardOutput, STDOUT_FILENO);
        setStream(request.standardError, STDERR_FILENO);
        closeTheRest();
        if (request.session == ProcessRequest::Session::own) leaveTheWorkingFolder();
    }
    ~FileActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    void setStream(int source, int target) {
        if (source == ProcessRequest::kInherit) return inheritStream(target);
        if (source <= STDERR_FILENO) {
            // A standard stream of the caller as the source: an earlier copy could overwrite it
            // (output and error crossed), and a copy onto itself would stay close-on-exec.
            FileDescriptor& safe = safeCopies_[target];
            safe = FileDescriptor(::fcntl(source, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
            if (!safe) raiseNotStarted(path_, errno);
            source = safe.get();
        }
        check(::posix_spawn_file_actions_adddup2(&actions_, source, target));
    }
    void inheritStream([[maybe_unused]] int stream) {
#ifdef POSIX_SPAWN_CLOEXEC_DEFAULT
        if (::fcntl(stream, F_GETFD) >= 0)
            check(::posix_spawn_file_actions_addinherit_np(&actions_, stream));
#endif
    }
    // Ours are close-on-exec; these are strays that whoever started this program left open, or that
    // a library opened.
    void closeTheRest() {
#if defined(__GLIBC__) && defined(__GLIBC_PREREQ)
#if __GLIBC_PREREQ(2, 34)
        check(::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1));
#endif
#endif
    }
    // A child that outlives this process must not keep the volume busy that it was started on.
    void leaveTheWorkingFolder() {
#if defined(__GLIBC__) || defined(__APPLE__)
        check(::posix_spawn_file_actions_addchdir_np(&actions_, "/"));
#endif
    }
    void check(int error) const {
        if (error != 0) raiseNotStarted(path_, error);
    }

    const std::string& path_;
    posix_spawn_file_actions_t actions_;
    FileDescriptor safeCopies_[STDERR_FILENO + 1];
};

/// The form that exec takes; it does not write to the strings.
std::vector<char*> pointersTo(const std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 2);
    for (const std::string& text : strings) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

ProcessEnd endFromStatus(int status) {
    if (WIFSIGNALED(status)) return {true, WTERMSIG(status)};
    return {false, WEXITSTATUS(status)};
}

class PosixProcessSpawner final : public ProcessSpawner {
public:
    PosixProcessSpawner() {
        // Inherited from a parent that ignored it, the system would throw away every child's end.
        struct sigaction action {};
        if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
            ::signal(SIGCHLD, SIG_DFL);
    }

    pid_t spawn(const ProcessRequest& request) override {
        // The system would read a text only up to a zero byte: never start another program than the
        // one that was asked for, nor with another argument ("/bin/rm" with half a path).
        if (holdsZero(request.launchPath)) raiseNotStarted(request.launchPath, ENOENT);
        if (std::ranges::any_of(request.arguments, holdsZero))
            raiseNotStarted(request.launchPath, EINVAL);
        const Attributes attributes(request);
        const FileActions actions(request);
        std::vector<char*> arguments = pointersTo(request.arguments);
        arguments.insert(arguments.begin(), const_cast<char*>(request.launchPath.c_str()));
        std::vector<char*> environment;
        if (request.environment) environment = pointersTo(*request.environment);
        pid_t process = 0;
        const int error =
            ::posix_spawn(&process, request.launchPath.c_str(), actions.get(), attributes.get(),
                          arguments.data(), request.environment ? environment.data() : environ);
        if (error != 0) raiseNotStarted(request.launchPath, error);
        return process;
    }

    ProcessEnd wait(pid_t process) override { return *take(process, 0); }

    std::optional<ProcessEnd> poll(pid_t process) override { return take(process, WNOHANG); }

    void abandon(pid_t process) override {
        try {
            if (poll(process)) return;
            detachNewThread([process] {
                while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
                }
            });
        } catch (const Exception&) {
            // Not our child, or no thread to be had: then the zombie goes when this process does.
        }
    }

private:
    static std::optional<ProcessEnd> take(pid_t process, int options) {
        int status = 0;
        // Zero and less would take the end of any child.
        pid_t taken = process <= 0 ? (errno = ECHILD, -1) : ::waitpid(process, &status, options);
        while (taken < 0 && errno == EINTR) taken = ::waitpid(process, &status, options);
        if (taken < 0) {
            throw Exception(kInvalidArgumentException,
                            "Couldn't wait for process " + std::to_string(process) + " (" +
                                std::generic_category().message(errno) + ")");
        }
        if (taken == 0) return std::nullopt;
        return endFromStatus(status);
    }
};

}  // namespace

std::unique_ptr<ProcessSpawner> makePosixProcessSpawner() {
    return std::make_unique<PosixProcessSpawner>();
}

}  // namespace quillmore::platform
