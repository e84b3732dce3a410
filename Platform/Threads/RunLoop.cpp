#include "Platform/Threads/RunLoop.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#define ASIO_STANDALONE
// Each loop belongs to one thread: its handlers need no memory fences of their own (which the
// thread sanitizer does not understand).
#define ASIO_DISABLE_FENCED_BLOCK
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/Pipes.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {
using Deadline = std::chrono::steady_clock::time_point;

// Far-off times are cut to one that the clock's unit can hold; what is no number counts as now.
Deadline deadlineAfter(RunLoop::Seconds delay) {
    constexpr RunLoop::Seconds longest = std::chrono::years(10);
    if (!(delay > RunLoop::Seconds::zero())) delay = RunLoop::Seconds::zero();
    return std::chrono::steady_clock::now() +
           std::chrono::duration_cast<Deadline::duration>(std::min(delay, longest));
}

// Out of descriptors.
[[noreturn]] void raiseCannotWait(const std::error_code& error) {
    throw Exception(kGenericException, "Couldn't wait for events (" + error.message() + ")");
}

// A bad descriptor reads like one at its end; one too many is a failure of this process.
FileDescriptor copyOf(int descriptor) {
    FileDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    if (!copy && errno != EBADF) raiseCannotWait({errno, std::generic_category()});
    return copy;
}

/// Readiness of a stream, told through a copy of the caller's descriptor. The mode of the stream
/// behind it is the caller's too (it may be a terminal) and is put back when the watch is over.
class Watch {
public:
    Watch(asio::io_context& context, int descriptor)
        : copy_(copyOf(descriptor)),
          statusFlags_(copy_ ? ::fcntl(copy_.get(), F_GETFL) : -1),
          stream_(context) {}
    ~Watch() {
        if (statusFlags_ != -1) ::fcntl(copy_.get(), F_SETFL, statusFlags_);
        // The copy has one owner more than it needs; closing it twice would hit a stranger's.
        if (stream_.is_open()) stream_.release();
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    int descriptor() const { return copy_.get(); }
    /// False when the system cannot tell when there is something to read.
    bool canWait() {
        asio::error_code error;
        stream_.assign(copy_.get(), error);
        return !error;
    }
    template <class Handler>
    void wait(Handler whenReadable) {
        stream_.async_wait(asio::posix::descriptor_base::wait_read, std::move(whenReadable));
    }

private:
    FileDescriptor copy_;
    int statusFlags_;
    asio::posix::stream_descriptor stream_;
};

/// One background read.
class Reading {
public:
    Reading(asio::io_context& context, int descriptor, std::function<void(std::string)> whenRead)
        : handler(std::move(whenRead)), watch(context, descriptor) {}

    /// Takes what is there; false at the end of the stream.
    bool readSome() {
        char chunk[64 * 1024];
        const ssize_t count = ::read(watch.descriptor(), chunk, sizeof chunk);
        if (count > 0) bytes.append(chunk, static_cast<std::size_t>(count));
        return count > 0 || (count < 0 && (errno == EINTR || errno == EAGAIN));
    }
    void readTheRest() { bytes += readToEndOfStream(watch.descriptor()); }

    std::function<void(std::string)> handler;
    std::string bytes;
    Watch watch;
};

/// One wait for data; both are empty once it is over.
struct Waiting {
    std::function<void()> handler;
    std::unique_ptr<Watch> watch;
};
}  // namespace

class RunLoop::Body {
public:
    void performAfter(Seconds delay, std::function<void()> handler) {
        auto timer = std::make_shared<asio::steady_timer>(context_, deadlineAfter(delay));
        auto* const waiting = timer.get();
        ++expected_;
        waiting->async_wait([this, timer = std::move(timer), handler = std::move(handler)](
                                const asio::error_code&) { call(handler); });
    }

    void read(int descriptor, std::function<void(std::string)> handler) {
        auto reading = std::make_shared<Reading>(context_, descriptor, std::move(handler));
        ++expected_;
        if (reading->watch.canWait())
            continueReading(reading);
        else
            asio::post(context_, [this, reading] { finishWithTheRest(*reading); });
    }

    std::unique_ptr<Wait> waitForData(int descriptor, std::function<void()> handler) {
        auto waiting = std::make_shared<Waiting>();
        waiting->handler = std::move(handler);
        waiting->watch = std::make_unique<Watch>(context_, descriptor);
        ++expected_;
        if (waiting->watch->canWait())
            waiting->watch->wait([this, waiting](const asio::error_code&) { end(*waiting); });
        else
            asio::post(context_, [this, waiting] { end(*waiting); });
        return std::make_unique<DataWait>(*this, std::move(waiting));
    }

    bool runUntil(Deadline deadline) {
        const std::uint64_t before = called_;
        // The loop also runs steps of its own, which are no handlers. Past the deadline, what is
        // ready still counts.
        while (called_ == before && expected_ > 0)
            if (context_.run_one_until(deadline) == 0 && context_.poll_one() == 0) break;
        return called_ != before;
    }

    bool hasWork() const { return expected_ > 0; }

private:
    class DataWait final : public Wait {
    public:
        DataWait(Body& body, std::shared_ptr<Waiting> waiting)
            : body_(body), waiting_(std::move(waiting)) {}
        ~DataWait() override { body_.forget(*waiting_); }

    private:
        Body& body_;
        std::shared_ptr<Waiting> waiting_;
    };

    void end(Waiting& waiting) {
        if (!waiting.handler) return;  // forgotten
        const auto handler = std::exchange(waiting.handler, nullptr);
        waiting.watch.reset();
        call(handler);
    }
    void forget(Waiting& waiting) {
        if (!waiting.handler) return;  // over
        waiting.handler = nullptr;
        waiting.watch.reset();
        // The context still has to clear up; a loop that waits for nothing may never run again.
        if (--expected_ == 0) context_.poll();
    }
    void continueReading(const std::shared_ptr<Reading>& reading) {
        reading->watch.wait([this, reading](const asio::error_code& error) {
            // Regular files and /dev/null cannot be waited for, and need not be.
            if (error)
                finishWithTheRest(*reading);
            else if (reading->readSome())
                continueReading(reading);
            else
                finish(*reading);
        });
    }
    void finishWithTheRest(Reading& reading) {
        reading.readTheRest();
        finish(reading);
    }
    void finish(Reading& reading) {
        const auto handler = std::move(reading.handler);
        call([&] { handler(std::move(reading.bytes)); });
    }
    template <class Handler>
    void call(const Handler& handler) {
        --expected_;
        ++called_;
        handler();
    }

    asio::io_context context_{1};
    // Without it the context would stop for good when it runs out of work.
    asio::executor_work_guard<asio::io_context::executor_type> guard_{context_.get_executor()};
    std::uint64_t expected_ = 0;  ///< Handlers that are still to be called.
    std::uint64_t called_ = 0;
};

namespace {
template <class Step>
void withPlatformExceptions(const Step& step) {
    try {
        step();
    } catch (const std::system_error& error) {
        raiseCannotWait(error.code());
    }
}
}  // namespace

RunLoop::RunLoop() : body_(std::make_unique<Body>()) {}
RunLoop::~RunLoop() = default;

RunLoop& RunLoop::current() {
    thread_local RunLoop loop;
    return loop;
}

void RunLoop::performAfter(Seconds delay, std::function<void()> handler) {
    withPlatformExceptions([&] { body_->performAfter(delay, std::move(handler)); });
}

void RunLoop::readToEndInBackground(int descriptor,
                                    std::function<void(std::string bytes)> handler) {
    withPlatformExceptions([&] { body_->read(descriptor, std::move(handler)); });
}

std::unique_ptr<RunLoop::Wait> RunLoop::waitForDataInBackground(int descriptor,
                                                                std::function<void()> handler) {
    std::unique_ptr<Wait> wait;
    withPlatformExceptions([&] { wait = body_->waitForData(descriptor, std::move(handler)); });
    return wait;
}

bool RunLoop::runOnce(Seconds limit) {
    return body_->runUntil(deadlineAfter(limit));
}

void RunLoop::runWhile(const std::function<bool()>& condition) {
    while (condition() && body_->hasWork()) body_->runUntil(Deadline::max());
}

}  // namespace quillmore::platform
