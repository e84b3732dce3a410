// Notifications of the default centre that a thread's run loop posts: a handle has something to
// read, a child has ended. Each comes once for one request, on the thread that asked, while that
// thread runs its loop; dropping what a request returned takes it back.
#pragma once

#include <memory>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Threads/RunLoop.h"

namespace quillmore::platform {

class Task;

/// Its object is the handle's FileDescriptor.
inline constexpr const char* kFileHandleDataAvailableNotification =
    "NSFileHandleDataAvailableNotification";
/// Its object is the Task.
inline constexpr const char* kTaskDidTerminateNotification = "NSTaskDidTerminateNotification";

/// Posted when a read would not block: there is data, or the stream has ended. The handle's object
/// must stay where it is.
[[nodiscard]] std::unique_ptr<RunLoop::Wait> waitForDataInBackgroundAndNotify(
    const FileDescriptor& handle);
/// Posted when the launched task has ended; its end is known by then. Raises an Exception when the
/// system cannot tell. The task must stay where it is.
[[nodiscard]] std::unique_ptr<RunLoop::Wait> waitForTerminationInBackgroundAndNotify(Task& task);

}  // namespace quillmore::platform
