#include "Platform/Console/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace quillmore::platform {

namespace {
// A line this long is no answer to anything; the rest of it is taken as the next one.
constexpr std::size_t kLongestLine = 64 * 1024;
}  // namespace

LineReader::Event LineReader::wait(bool wantsInput, int otherDescriptor,
                                   std::chrono::milliseconds timeOut) {
    for (;;) {
        if (wantsInput && takeFromBuffer()) return Event::line;
        if (wantsInput && ended_) return Event::endOfInput;
        pollfd waited[2] = {{otherDescriptor, POLLIN, 0},
                            {wantsInput ? descriptor_ : -1, POLLIN, 0}};
        const int ready = ::poll(waited, 2, static_cast<int>(timeOut.count()));
        if (ready == 0) return Event::timeOut;
        if (ready < 0) continue;  // a signal: wait again
        if (waited[0].revents != 0) return Event::otherDescriptor;
        if (waited[1].revents != 0) fillBuffer();
    }
}

std::string LineReader::takeLine() {
    return std::exchange(line_, {});
}

bool LineReader::takeFromBuffer() {
    std::size_t end = buffer_.find('\n');
    if (end == std::string::npos) {
        if (!(ended_ && !buffer_.empty()) && buffer_.size() < kLongestLine) return false;
        end = buffer_.size();  // a last line without its end still is an answer
    }
    line_ = buffer_.substr(0, end);
    buffer_.erase(0, end + 1);
    if (!line_.empty() && line_.back() == '\r') line_.pop_back();
    return true;
}

void LineReader::fillBuffer() {
    char bytes[4096];
    const ssize_t count = ::read(descriptor_, bytes, sizeof bytes);
    if (count > 0)
        buffer_.append(bytes, static_cast<std::size_t>(count));
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
        ended_ = true;
}

}  // namespace quillmore::platform
