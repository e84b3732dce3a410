#include "Common/utils/LogDates.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace quillmore {

namespace {

std::string fractionOf(std::chrono::nanoseconds part, int digits) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), ".%09lld", static_cast<long long>(part.count()));
    return {text.data(), static_cast<std::size_t>(digits) + 1};
}

}  // namespace

std::string DateFormatter::stringFromDate(platform::Clock::WallTime date) const {
    const auto second = std::chrono::floor<std::chrono::seconds>(date);
    const std::time_t time = std::chrono::system_clock::to_time_t(second);
    std::tm local{};
    ::localtime_r(&time, &local);
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), pattern_, &local);
    std::string result(text.data(), length);
    if (fractionDigits_ > 0) result += fractionOf(date - second, fractionDigits_);
    return result;
}

const DateFormatter& __dateFormatterForCurrentThread() {
    static const DateFormatter formatter("%Y-%m-%d %H:%M:%S", 4);
    return formatter;
}

const DateFormatter& dateFormatterForLogFileName() {
    static const DateFormatter formatter("%Y-%m-%d-%H%M%S", 0);
    return formatter;
}

}  // namespace quillmore
