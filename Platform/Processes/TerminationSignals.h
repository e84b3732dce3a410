// SIGTERM, SIGINT and SIGHUP: they end the program cleanly, but never in the middle of work that
// must not be cut (one command of the update tool). A thread of its own waits for them, so that
// they count even while the main thread waits for a child.
#pragma once

#include <functional>

namespace quillmore::platform {

/// Blocks the signals in the calling thread and all threads started later. A signal that whoever
/// started the program had ignored stays so (nohup). Ignores SIGPIPE and SIGXFSZ (a file beyond the
/// limit that was set for the program): the write fails as any other, and children are not
/// affected. Call once, first thing on the main thread. `onSignal(number)` runs on the waiting
/// thread as soon as no TerminationDelay lives; it is expected to end the process. None begins
/// while it runs, so it must neither make one nor wait for a thread that may.
void watchTerminationSignals(std::function<void(int)> onSignal);

/// While one lives, a signal is kept; it is handled when the last one goes, before a next one
/// begins. Any thread.
class TerminationDelay {
public:
    TerminationDelay();
    ~TerminationDelay();
    TerminationDelay(const TerminationDelay&) = delete;
    TerminationDelay& operator=(const TerminationDelay&) = delete;
};

}  // namespace quillmore::platform
