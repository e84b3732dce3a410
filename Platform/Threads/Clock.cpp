#include "Platform/Threads/Clock.h"

#include <algorithm>
#include <thread>

namespace quillmore::platform {

void SystemClock::sleepFor(Seconds duration) {
    // Longer sleeps would overflow the system's own unit; nobody is there to see the end of one.
    constexpr Seconds longest = std::chrono::years(100);
    if (!(duration > Seconds::zero())) return;  // not a number counts as zero, too
    std::this_thread::sleep_for(std::min(duration, longest));
}

}  // namespace quillmore::platform
