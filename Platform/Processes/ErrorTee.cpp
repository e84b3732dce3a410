#include "Platform/Processes/ErrorTee.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>

#include "Platform/Threads/Thread.h"

namespace quillmore::platform {

namespace {

/// More than a pipe holds: what comes behind that was not written by a child that has ended.
constexpr std::size_t kMostInPipe = 1024 * 1024;
constexpr int kForEver = -1;

bool isReady(const pollfd& look) {
    return look.revents != 0;
}

}  // namespace

struct ErrorTee::Listener {
    FileDescriptor said;
    FileDescriptor ended;
    std::mutex mutex;
    std::condition_variable changed;
    std::string text;
    bool caughtUp = false;

    void listen() {
        bool childEnded = false;
        std::size_t sinceEnd = 0;
        for (;;) {
            pollfd looks[] = {{said.get(), POLLIN, 0}, {childEnded ? -1 : ended.get(), POLLIN, 0}};
            // Of an ended child everything is in the pipe already.
            if (::poll(looks, 2, childEnded && !caughtUp ? 0 : kForEver) < 0 && errno != EINTR)
                return catchUp();
            if (isReady(looks[0])) {
                const std::string piece = readAvailableData(said.get());
                if (piece.empty()) return catchUp();
                writeAll(STDERR_FILENO, piece);
                if (!caughtUp) keep(piece);
                if (childEnded && (sinceEnd += piece.size()) >= kMostInPipe) catchUp();
            } else if (childEnded) {
                catchUp();
            }
            childEnded = childEnded || isReady(looks[1]);
        }
    }

private:
    void keep(const std::string& piece) {
        text += piece;
        if (text.size() > kMostKept) text.erase(0, text.size() - kMostKept);
    }
    void catchUp() {
        const std::lock_guard lock(mutex);
        caughtUp = true;
        changed.notify_all();
    }
};

ErrorTee::ErrorTee() : listener_(std::make_shared<Listener>()) {
    listener_->said = std::move(pipe_.readEnd());
    listener_->ended = std::move(ended_.readEnd());
    detachNewThread([listener = listener_] { listener->listen(); });
}

ErrorTee::~ErrorTee() = default;

std::string ErrorTee::take() {
    ended_.writeEnd().reset();
    std::unique_lock lock(listener_->mutex);
    listener_->changed.wait(lock, [this] { return listener_->caughtUp; });
    return listener_->text;
}

}  // namespace quillmore::platform
