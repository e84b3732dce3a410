// A lock that processes, and threads of one process, share by the name of a file. It goes with the
// object, and with the process when that is killed; the file stays, so that nobody can hold a lock
// on a file which another has just removed.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Values/Result.h"

namespace quillmore::platform {

class LockFile {
public:
    /// How long a look at the lock is put off when somebody else has it.
    static constexpr std::chrono::milliseconds kPause{2};

    /// Waits for other holders, for each as long as `patience`, then EWOULDBLOCK: a holder that was
    /// stopped must not stop everyone else, but many who take turns are not one that was stopped.
    /// The file is made (mode 0600) when it is missing; a symbolic link in its place is an error
    /// (ELOOP).
    static Result<LockFile> take(const std::string& hostPath, std::chrono::milliseconds patience);
    /// The same with pauses of the caller's own, each of which counts as kPause.
    static Result<LockFile> _take(const std::string& hostPath, std::chrono::milliseconds patience,
                                  const std::function<void()>& pause);

private:
    explicit LockFile(FileDescriptor file) : file_(std::move(file)) {}
    FileDescriptor file_;
};

}  // namespace quillmore::platform
