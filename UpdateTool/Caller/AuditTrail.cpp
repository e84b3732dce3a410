#include "UpdateTool/Caller/AuditTrail.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>

#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/TimedLock.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

using platform::FileDescriptor;

namespace {

constexpr std::size_t kLongestLine = 4096;
constexpr int kLongestWait = 60;  // seconds
constexpr int kLogFlags =
    O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

bool isOwnFile(const Context& context, const struct stat& status) {
    return S_ISREG(status.st_mode) && status.st_uid == context.owner && status.st_nlink == 1 &&
           (status.st_mode & 07777) == 0600;
}

/// Empty when there is none to be had; not an own file when something else has the name.
FileDescriptor openLog(const Context& context, int folder) {
    FileDescriptor file(::openat(folder, AuditTrail::kFileName, kLogFlags, 0600));
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !isOwnFile(context, status)) return {};
    return file;
}

/// Under a lock, or two runs would each put a file aside. Only root can hold one on this file, and
/// nobody can stop the run that does.
void putAsideWhenFull(int folder, int file) {
    const OutOfCallersReach reach;
    struct stat held {};
    struct stat named {};
    // Whoever does not get it goes on: the next run puts the file aside.
    if (int left = kLongestWait; !lockWhile(file, [&left] { return --left > 0; })) return;
    const bool full = ::fstat(file, &held) == 0 && held.st_size >= AuditTrail::kFullSize &&
                      ::fstatat(folder, AuditTrail::kFileName, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
                      held.st_ino == named.st_ino && held.st_dev == named.st_dev;
    const std::string old = std::string(AuditTrail::kFileName) + ".1";
    if (full) ::renameat(folder, AuditTrail::kFileName, folder, old.c_str());
    ::flock(file, LOCK_UN);
}

std::string timeNow() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text.data();
}

/// One line, whatever the caller put into it, also for a terminal that shows it.
std::string printable(std::string text) {
    const auto isOdd = [](char c) { return c < ' ' || c > '~'; };
    std::replace_if(text.begin(), text.end(), isOdd, '?');
    return text;
}

}  // namespace

AuditTrail::AuditTrail(const Context& context, const std::string& folderPath) {
    // At once: later no socket can be made.
    ::openlog("updateqm", LOG_PID | LOG_NDELAY, LOG_AUTHPRIV);
    try {
        const FileDescriptor folder = openTrustedFolder(context, folderPath);
        file_ = openLog(context, folder.get());
        if (!file_) return;
        putAsideWhenFull(folder.get(), file_.get());
        file_ = openLog(context, folder.get());
    } catch (const Failure&) {
        // No such folder: the system's log has the lines.
    }
}

void AuditTrail::write(const std::string& line) const {
    const std::string text = printable(line.substr(0, kLongestLine));
    ::syslog(LOG_NOTICE, "%s", text.c_str());
    struct stat status {};
    // Runs that were opened and stopped, and go on all at once, would make it as long as they like.
    if (!file_ || ::fstat(file_.get(), &status) != 0 || status.st_size >= 2 * kFullSize) return;
    const std::string whole =
        timeNow() + " updateqm[" + std::to_string(::getpid()) + "]: " + text + "\n";
    // One call, so that the lines of runs that end together stay whole. A full disk loses it.
    while (::write(file_.get(), whole.data(), whole.size()) < 0 && errno == EINTR) continue;
}

}  // namespace quillmore::updatetool
