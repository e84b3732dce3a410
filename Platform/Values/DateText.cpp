#include "Platform/Values/DateText.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace quillmore::platform {

namespace {

using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

constexpr sys_days kReferenceDate =
    std::chrono::year{2001} / std::chrono::January / std::chrono::day{1};
constexpr sys_seconds kFirstSecond =
    sys_days(std::chrono::year{1} / std::chrono::January / std::chrono::day{1});
constexpr sys_seconds kLastSecond =
    sys_days(std::chrono::year{9999} / std::chrono::December / std::chrono::day{31}) +
    seconds{86399};

sys_seconds heldWithinYears(const Date& date) {
    const double count = date.secondsSinceReferenceDate;
    if (std::isnan(count)) return kReferenceDate;
    const auto first = static_cast<double>((kFirstSecond - kReferenceDate).count());
    const auto last = static_cast<double>((kLastSecond - kReferenceDate).count());
    const double held = std::clamp(std::floor(count), first, last);
    return kReferenceDate + seconds{static_cast<std::int64_t>(held)};
}

void appendDigits(std::string& text, long long number, int digits) {
    std::string reversed;
    for (int index = 0; index < digits; ++index, number /= 10) {
        reversed += static_cast<char>('0' + number % 10);
    }
    text.append(reversed.rbegin(), reversed.rend());
}

/// The number in a piece of a text whose shape was checked before.
int digitsAt(std::string_view text, std::size_t index, std::size_t count) {
    int number = 0;
    for (const char digit : text.substr(index, count)) number = number * 10 + (digit - '0');
    return number;
}

bool hasShape(std::string_view text, std::string_view shape) {
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                      [](char a, char b) { return b == '0' ? (a >= '0' && a <= '9') : a == b; });
}

}  // namespace

std::string textFromDate(const Date& date, std::string_view between, std::string_view after) {
    const sys_seconds moment = heldWithinYears(date);
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss clock(moment - day);
    std::string text;
    appendDigits(text, static_cast<int>(calendar.year()), 4);
    text += '-';
    appendDigits(text, static_cast<unsigned>(calendar.month()), 2);
    text += '-';
    appendDigits(text, static_cast<unsigned>(calendar.day()), 2);
    text += between;
    appendDigits(text, clock.hours().count(), 2);
    text += ':';
    appendDigits(text, clock.minutes().count(), 2);
    text += ':';
    appendDigits(text, clock.seconds().count(), 2);
    text += after;
    return text;
}

std::optional<Date> dateFromText(std::string_view text) {
    if (!hasShape(text, "0000-00-00T00:00:00Z")) return std::nullopt;
    const std::chrono::year_month_day calendar{
        std::chrono::year{digitsAt(text, 0, 4)},
        std::chrono::month{static_cast<unsigned>(digitsAt(text, 5, 2))},
        std::chrono::day{static_cast<unsigned>(digitsAt(text, 8, 2))}};
    const int hour = digitsAt(text, 11, 2);
    const int minute = digitsAt(text, 14, 2);
    const int second = digitsAt(text, 17, 2);
    // 60 is a leap second; it counts as the first second of the next minute.
    if (!calendar.ok() || hour > 23 || minute > 59 || second > 60) return std::nullopt;
    const auto sinceReference = sys_days(calendar) - kReferenceDate + std::chrono::hours{hour} +
                                std::chrono::minutes{minute} + seconds{second};
    return Date{static_cast<double>(sinceReference.count())};
}

}  // namespace quillmore::platform
