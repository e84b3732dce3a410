#include "UpdateTool/Disk/LockHolder.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <sstream>
#include <string_view>

namespace quillmore::updatetool {

namespace {

/// Always written and read in one call.
constexpr std::size_t kRecordSize = 96;

/// Without asking for memory: the lock is let go where nothing may fail.
void writeRecord(int file, std::string_view text) {
    std::array<char, kRecordSize> record{};
    record.fill(' ');
    std::copy_n(text.begin(), std::min(text.size(), kRecordSize), record.begin());
    [[maybe_unused]] const ssize_t written = ::pwrite(file, record.data(), record.size(), 0);
}

}  // namespace

std::chrono::seconds clockNow() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::chrono::seconds(now.tv_sec);
}

void writeHolder(int file) {
    writeRecord(file, std::to_string(::getpid()) + " " + startOfProcess(::getpid()) + " " +
                          std::to_string(clockNow().count()));
}

void removeHolder(int file) {
    writeRecord(file, "");
}

std::optional<LockHolder> readHolder(int file) {
    std::array<char, kRecordSize> record{};
    if (::pread(file, record.data(), record.size(), 0) != static_cast<ssize_t>(record.size()))
        return std::nullopt;
    std::istringstream fields(std::string(record.data(), record.size()));
    LockHolder holder;
    std::int64_t since = 0;
    fields >> holder.process >> holder.started >> since;
    holder.since = std::chrono::seconds(since);
    return fields && holder.process > 1 ? std::optional(holder) : std::nullopt;
}

}  // namespace quillmore::updatetool
