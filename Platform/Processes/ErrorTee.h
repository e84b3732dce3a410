// What a child says on standard error: passed on to this process's own as it comes, and kept for
// whoever wants to say it elsewhere too. A thread of the object's own listens until the last holder
// of the pipe is gone; that may be a child of the child, long after the object.
#pragma once

#include <memory>
#include <string>

#include "Platform/Files/Pipe.h"

namespace quillmore::platform {

class ErrorTee {
public:
    /// Of more than that the end is kept: a program says last why it gives up.
    static constexpr std::size_t kMostKept = 8 * 1024;

    /// Listens at once. Raises an Exception when no pipe or no thread can be had.
    ErrorTee();
    ~ErrorTee();
    ErrorTee(const ErrorTee&) = delete;
    ErrorTee& operator=(const ErrorTee&) = delete;

    /// For the child, whose launch closes it in this process.
    Pipe& pipe() { return pipe_; }
    /// What was said until the end of the child, which has ended: all of it has been passed on by
    /// then. Never waits for those whom the child has left behind.
    std::string take();

private:
    struct Listener;

    Pipe pipe_;
    Pipe ended_;  ///< Closed when the child has ended.
    std::shared_ptr<Listener> listener_;
};

}  // namespace quillmore::platform
