#include "Platform/Processes/BackgroundNotifications.h"

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#ifdef __linux__
#include <sys/syscall.h>
#else
#include <sys/event.h>
#endif

#include "Platform/Files/Pipe.h"
#include "Platform/Processes/Task.h"
#include "Platform/Threads/NotificationCenter.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

/// Readable once the child has ended; invalid, with the reason in errno, when there is none.
FileDescriptor openEndOf(pid_t process) {
#ifdef __linux__
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
#else
    FileDescriptor queue(::kqueue());
    struct kevent event {};
    EV_SET(&event, process, EVFILT_PROC, EV_ADD | EV_ONESHOT, NOTE_EXIT, 0, nullptr);
    if (queue && ::kevent(queue.get(), &event, 1, nullptr, 0, nullptr) < 0) queue.reset();
    return queue;
#endif
}

FileDescriptor endOf(Task& task) {
    // Of a child that has ended already the system may know nothing any more: a stream that has
    // ended says the same.
    if (!task.isRunning()) return std::move(Pipe().readEnd());
    FileDescriptor end = openEndOf(task.processIdentifier());
    if (end) return end;
    if (errno == ESRCH) return std::move(Pipe().readEnd());
    throw Exception(kGenericException, "Couldn't wait for process " +
                                           std::to_string(task.processIdentifier()) + " (" +
                                           std::generic_category().message(errno) + ")");
}

void post(const char* name, const void* object) {
    NotificationCenter::defaultCenter().post({name, object, {}});
}

}  // namespace

std::unique_ptr<RunLoop::Wait> waitForDataInBackgroundAndNotify(const FileDescriptor& handle) {
    return RunLoop::current().waitForDataInBackground(
        handle.get(), [&handle] { post(kFileHandleDataAvailableNotification, &handle); });
}

std::unique_ptr<RunLoop::Wait> waitForTerminationInBackgroundAndNotify(Task& task) {
    const FileDescriptor end = endOf(task);
    return RunLoop::current().waitForDataInBackground(end.get(), [&task] {
        task.waitUntilExit();  // the kernel may tell a moment before the end can be had
        post(kTaskDidTerminateNotification, &task);
    });
}

}  // namespace quillmore::platform
