// Local dates as the log writes them. Private to the logger. Any thread.
#pragma once

#include <string>

#include "Platform/Threads/Clock.h"

namespace quillmore {

/// A pattern of strftime, with so many digits of the second's fraction after it (cut, not rounded).
class DateFormatter {
public:
    DateFormatter(const char* pattern, int fractionDigits)
        : pattern_(pattern), fractionDigits_(fractionDigits) {}
    std::string stringFromDate(platform::Clock::WallTime date) const;

private:
    const char* pattern_;
    int fractionDigits_;
};

/// "yyyy-MM-dd HH:mm:ss.SSSS". Deliberate: in spite of its name one for the whole process.
const DateFormatter& __dateFormatterForCurrentThread();
/// "yyyy-MM-dd-HHmmss".
const DateFormatter& dateFormatterForLogFileName();

}  // namespace quillmore
