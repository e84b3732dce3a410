// Port: the running application. Abstract so that tests can run the main queue by hand and see a
// termination as an event (FakeApplication); the body of the program is MainApplication.
#pragma once

#include <functional>

#include "Platform/Threads/MainQueue.h"

namespace quillmore::platform {

/// What the application asks of the program. Called on the main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;
    virtual void applicationDidFinishLaunching() = 0;
};

class Application {
public:
    virtual ~Application() = default;
    /// Queued for the main thread, never waited for. From any thread.
    virtual void performOnMainThread(std::function<void()> work) = 0;
    /// The ordinary end, status 0. Does not return.
    [[noreturn]] virtual void terminate() = 0;
    /// Ends the process with a status, without asking anybody. Does not return.
    [[noreturn]] virtual void exitProcess(int status) = 0;
    /// Null until one was set. Not owned.
    ApplicationDelegate* delegate() const { return delegate_; }
    void setDelegate(ApplicationDelegate* delegate) { delegate_ = delegate; }

private:
    ApplicationDelegate* delegate_ = nullptr;
};

class MainApplication final : public Application {
public:
    void performOnMainThread(std::function<void()> work) override { queue_.post(std::move(work)); }
    /// Both flush the standard streams and the open log file, and run no destructor of a static
    /// object. Any thread.
    [[noreturn]] void terminate() override;
    [[noreturn]] void exitProcess(int status) override;
    MainQueue& mainQueue() { return queue_; }

private:
    MainQueue queue_;
};

}  // namespace quillmore::platform
