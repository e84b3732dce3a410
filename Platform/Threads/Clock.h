// The time, and waiting for it to pass. Abstract so that tests can turn it by hand (FakeClock).
#pragma once

#include <chrono>

namespace quillmore::platform {

class Clock {
public:
    using WallTime = std::chrono::system_clock::time_point;
    using Seconds = std::chrono::duration<double>;

    virtual ~Clock() = default;
    virtual WallTime now() const = 0;
    /// Blocks the calling thread. Zero and less return at once.
    virtual void sleepFor(Seconds duration) = 0;
};

class SystemClock final : public Clock {
public:
    WallTime now() const override { return std::chrono::system_clock::now(); }
    void sleepFor(Seconds duration) override;
};

}  // namespace quillmore::platform
