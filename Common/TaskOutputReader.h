// Gathers what one task prints on both its streams, by notifications that the calling thread's run
// loop delivers. One reader a task, for one run; one thread.
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>

#include "Platform/Processes/BackgroundNotifications.h"
#include "Platform/Processes/Task.h"
#include "Platform/Threads/NotificationCenter.h"

namespace quillmore {

class TaskOutputReader {
public:
    /// A task whose standard output and standard error are set to pipes. Raises an Exception when
    /// the system has no descriptors left.
    explicit TaskOutputReader(std::shared_ptr<platform::Task> task);
    TaskOutputReader(const TaskOutputReader&) = delete;
    TaskOutputReader& operator=(const TaskOutputReader&) = delete;

    /// The bytes so far: the buffers themselves, which grow.
    const std::string& standardOutputData() const { return standardOutput; }
    const std::string& standardErrorData() const { return standardError; }

    /// Launches the task, calls the block (if any) with the child's process id, and runs the
    /// thread's run loop until the child has ended and both streams are at their end, which comes
    /// when the last process that holds them has closed them. No time-out. Raises what the launch
    /// and the block raise.
    void launchTaskAndRunSynchronous(const std::function<void(pid_t)>& block);

private:
    void standardOutNotification(const platform::Notification& notification);
    void standardErrorNotification(const platform::Notification& notification);
    void terminatedNotification(const platform::Notification& notification);
    /// Takes what is there and waits for more; true at the end of the stream.
    static bool readAvailable(platform::Pipe& pipe, std::string& buffer,
                              std::unique_ptr<platform::RunLoop::Wait>& wait);

    /// A registration with the default notification centre, taken back when it goes.
    class Registration {
    public:
        Registration(const char* name, const void* object,
                     std::function<void(const platform::Notification&)> handler);
        ~Registration();
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

    private:
        platform::NotificationCenter::Token token_;
    };

    std::string standardOutput;
    std::string standardError;
    bool taskComplete = false;
    bool outputClosed = false;
    bool errorClosed = false;
    std::shared_ptr<platform::Task> task;

    Registration outputRegistration_;
    Registration errorRegistration_;
    Registration terminationRegistration_;
    std::unique_ptr<platform::RunLoop::Wait> outputWait_;
    std::unique_ptr<platform::RunLoop::Wait> errorWait_;
    std::unique_ptr<platform::RunLoop::Wait> terminationWait_;
};

}  // namespace quillmore
