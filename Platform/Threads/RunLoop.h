// A thread's run loop: timers and background reads whose handlers run on the thread that runs the
// loop. One loop a thread, made on first use; every call from that thread only. What is still
// waited for when the loop goes is dropped. Out of descriptors, the calls that wait for something
// raise an Exception.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace quillmore::platform {

class RunLoop {
public:
    using Seconds = std::chrono::duration<double>;

    /// Something that is waited for: forgotten when this goes, which must be before the loop does.
    class Wait {
    public:
        virtual ~Wait() = default;
    };

    RunLoop();
    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// The calling thread's loop, living as long as the thread.
    static RunLoop& current();

    /// Calls `handler` once, `delay` from now.
    void performAfter(Seconds delay, std::function<void()> handler);
    /// Reads the descriptor to its end and hands over everything at once. The descriptor stays the
    /// caller's and must stay open until then. A read error counts as the end.
    void readToEndInBackground(int descriptor, std::function<void(std::string bytes)> handler);
    /// Calls `handler` once, when a read of the descriptor would not block: something is there, or
    /// the stream has ended. The descriptor stays the caller's and may be closed meanwhile.
    [[nodiscard]] std::unique_ptr<Wait> waitForDataInBackground(int descriptor,
                                                                std::function<void()> handler);
    /// Runs until one handler was called or `limit` has passed; true when a handler was called.
    /// False at once when there is nothing to wait for. What a handler raises passes through.
    bool runOnce(Seconds limit);
    /// Runs as long as `condition` holds, asking before the first and after every handler, and ends
    /// when there is nothing left to wait for.
    void runWhile(const std::function<bool()>& condition);

private:
    class Body;
    std::unique_ptr<Body> body_;
};

}  // namespace quillmore::platform
