#include "Common/utils/Logging.h"

#include <sys/types.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "Common/utils/LogDates.h"
#include "Common/utils/LogState.h"
#include "Platform/Ports/Services.h"
#include "Platform/Ports/SystemInformation.h"
#include "Platform/Threads/Thread.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

platform::Clock::WallTime now() {
    if (platform::haveServices() && platform::services().clock != nullptr)
        return platform::services().clock->now();
    return std::chrono::system_clock::now();
}

const char* tagOf(std::uint32_t level) {
    switch (level) {
        case kLogLevelVerbose:
            return "(vrb) ";
        case kLogLevelDetailed:
            return "(dtl) ";
        case kLogLevelError:
            return "(ERR) ";
        default:
            return "(nrm) ";
    }
}

/// The newline goes to the format, not to the finished text.
std::string messageOf(std::string_view format, FormatArguments arguments) {
    if (format.ends_with('\n')) return platform::formatWithArguments(format, arguments);
    return platform::formatWithArguments(std::string(format) + "\n", arguments);
}

std::string lineOf(LogState& state, std::uint32_t level, const std::string& message) {
    if (!state._ProcessName) state.recordProcess();  // a line before any configuration
    return platform::format("%@ %@[%d] %@%@%@", createCurrentDateTimeString(), state._ProcessName,
                            state._PID, tagOf(level), __createCurrentThreadPrefixString(), message);
}

/// Marks the time in which the length is looked at and the file changed, also when that fails: the
/// next look comes as many lines later in any case, not on each line of a log that cannot go on.
class FileChange {
public:
    explicit FileChange(LogState& state) : state_(state) { state_.isChangingFile = true; }
    ~FileChange() {
        state_.isChangingFile = false;
        state_._examineLogFileLengthInNLines = kExamineLogFileLengthEveryNLines;
    }
    FileChange(const FileChange&) = delete;
    FileChange& operator=(const FileChange&) = delete;

private:
    LogState& state_;
};

/// Goes on with the old file when there is no fresh one: the next look at the length tries again.
void changeToFreshFile(LogState& state) {
    const std::string fresh = __createStringByRegeneratingLogFilePath();
    const std::optional<std::string> path = state._optionalLogFilePath;
    LogState::Stream old = std::move(state._optionalLogFileHandle);
    const bool isLineCut = state.isLineCut;
    try {
        _initLogging(fresh);
    } catch (...) {
        state._optionalLogFilePath = path;
        state._optionalLogFileHandle = std::move(old);
        state.isLineCut = isLineCut;
        throw;
    }
}

/// Leaves a file that has grown too long for a fresh one. Old files are never removed.
void examineLogFileLength(LogState& state) {
    if (state._examineLogFileLengthInNLines != 0) {
        --state._examineLogFileLengthInNLines;
        return;
    }
    if (state.isChangingFile) return;  // a line that the change itself logs
    const FileChange change(state);
    if (_fileLength(state._optionalLogFileHandle.get()) >= kLogFileLengthToLeave)
        changeToFreshFile(state);
}

/// A failed write is ignored: there is no better place to say so. What a full disk has cut gets its
/// end before the next line, in one write with that.
void append(LogState& state, const std::string& line) {
    const std::string text = state.isLineCut ? "\n" + line : line;
    const std::size_t written =
        std::fwrite(text.data(), 1, text.size(), state._optionalLogFileHandle.get());
    if (written > 0) state.isLineCut = text[written - 1] != '\n';
}

void writeToFile(LogState& state, std::uint32_t level, const std::string& line) {
    if (!state._optionalLogFileHandle || state._fileLoggingLevel < level) return;
    append(state, line);
    examineLogFileLength(state);
}

/// Flushed at once, so that an abort loses nothing and both streams keep their order.
void writeToStream(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
    std::fflush(stream);
}

void writeToTerminal(LogState& state, std::uint32_t level, const std::string& line) {
    if (state._stdioLoggingLevel < level) return;
    writeToStream(level == kLogLevelError ? stderr : stdout, line);
}

void writeLine(LogState& state, std::uint32_t level, const std::string& line) {
    writeToFile(state, level, line);
    writeToTerminal(state, level, line);
}

void keep(LogState& state, const std::string& line) {
    if (state.keptProblems.size() < kMostKeptProblems)
        state.keptProblems.push_back(line);
    else
        ++state.problemsNotKept;
}

}  // namespace

void _log(std::uint32_t level, std::string_view format, FormatArguments arguments) {
    if (!_isLogLevelVisible(level)) return;
    const std::string message = messageOf(format, arguments);
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    writeLine(state, level, lineOf(state, level, message));
}

void _logProblem(const std::string& problem) {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    const std::string line = lineOf(state, kLogLevelError, problem + "\n");
    if (!state._optionalLogFileHandle) keep(state, line);
    writeLine(state, kLogLevelError, line);
}

void _writeKeptProblems() {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    // Taken out first: the file may be left for another while they are written.
    const std::vector<std::string> lines = std::exchange(state.keptProblems, {});
    const int others = std::exchange(state.problemsNotKept, 0);
    for (const std::string& line : lines) writeToFile(state, kLogLevelError, line);
    if (others == 0) return;
    writeToFile(state, kLogLevelError,
                lineOf(state, kLogLevelError,
                       platform::format("%d more problems were found before there was this file\n",
                                        others)));
}

void _logErrorToFile(const std::string& message) {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    writeToFile(state, kLogLevelError, lineOf(state, kLogLevelError, message + "\n"));
}

bool _isLogLevelVisible(std::uint32_t level) {
    const LogState& state = logState();
    return state._fileLoggingLevel >= level || state._stdioLoggingLevel >= level;
}

bool isLogVerboseVisible() {
    return _isLogLevelVisible(kLogLevelVerbose);
}

bool isLogDetailVisible() {
    return _isLogLevelVisible(kLogLevelDetailed);
}

void _printToStandardOutput(std::string_view format, FormatArguments arguments) {
    writeToStream(stdout, platform::formatWithArguments(format, arguments) + "\n");
}

void _printToStandardError(std::string_view format, FormatArguments arguments) {
    writeToStream(stderr, platform::formatWithArguments(format, arguments) + "\n");
}

std::string createCurrentDateTimeString() {
    return __dateFormatterForCurrentThread().stringFromDate(now());
}

std::string createCurrentDateTimeStringForLogFileName() {
    return dateFormatterForLogFileName().stringFromDate(now());
}

std::string __createCurrentThreadPrefixString() {
    if (const auto name = platform::currentThreadName()) return platform::format("[%@] ", *name);
    std::uint64_t port = 0;
    if (platform::haveServices() && platform::services().systemInformation != nullptr)
        port = platform::services().systemInformation->currentThreadPort();
    return platform::format("[0x%0llx] ", port);
}

std::uint32_t _fileLength(std::FILE* stream) {
    constexpr std::uint32_t kNoStream = 0xFFFFFFFF;
    if (stream == nullptr) return kNoStream;
    const off_t position = ::ftello(stream);
    // A pipe or a terminal has no length that could grow too long.
    if (position < 0 || ::fseeko(stream, 0, SEEK_END) != 0) return 0;
    const off_t length = ::ftello(stream);
    ::fseeko(stream, position, SEEK_SET);
    if (length < 0) return 0;
    constexpr off_t kLongest = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(length, kLongest));
}

}  // namespace quillmore
