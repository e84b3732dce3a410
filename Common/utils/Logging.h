// The process-wide log: four levels, two sinks (a file and the terminal), each with a level of its
// own. Works before any configuration: both levels "normal", no file. Any thread may log; one lock
// keeps lines whole and guards the state.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Values/Format.h"

namespace quillmore {

inline constexpr std::uint32_t kLogLevelError = 0;
inline constexpr std::uint32_t kLogLevelNormal = 1;
inline constexpr std::uint32_t kLogLevelVerbose = 2;
inline constexpr std::uint32_t kLogLevelDetailed = 3;

/// The name of the exceptions raised for bad configuration.
inline constexpr const char* kConfigurationFault = "Configuration Fault";

using FormatArguments = std::span<const platform::FormatArgument>;

/// The one writer. Formats nothing when no sink wants the level.
void _log(std::uint32_t level, std::string_view format, FormatArguments arguments);
/// One error line. While no file is open it is also kept for the next one (50 lines at most, then
/// their number), so that what was wrong before the file could be opened is found in it.
void _logProblem(const std::string& problem);
void _writeKeptProblems();
/// One error line for the file alone: the terminal has had the words already.
void _logErrorToFile(const std::string& message);
/// True when either sink's level is at or above `level`.
bool _isLogLevelVisible(std::uint32_t level);

/// Both print text and newline regardless of levels and without the line prefix.
void _printToStandardOutput(std::string_view format, FormatArguments arguments);
void _printToStandardError(std::string_view format, FormatArguments arguments);

namespace detail {
template <class Writer, class... Arguments>
void withErasedArguments(Writer writer, const Arguments&... arguments) {
    const platform::FormatArgument erased[sizeof...(arguments) + 1] = {
        platform::FormatArgument(arguments)..., nullptr};
    writer(FormatArguments(erased, sizeof...(arguments)));
}
template <class... Arguments>
void logAt(std::uint32_t level, std::string_view format, const Arguments&... arguments) {
    if (!_isLogLevelVisible(level)) return;  // arguments are not even erased
    withErasedArguments([&](FormatArguments erased) { _log(level, format, erased); }, arguments...);
}
}  // namespace detail

template <class... Arguments>
void logError(std::string_view format, const Arguments&... arguments) {
    detail::logAt(kLogLevelError, format, arguments...);
}
template <class... Arguments>
void logNormal(std::string_view format, const Arguments&... arguments) {
    detail::logAt(kLogLevelNormal, format, arguments...);
}
template <class... Arguments>
void logVerbose(std::string_view format, const Arguments&... arguments) {
    detail::logAt(kLogLevelVerbose, format, arguments...);
}
template <class... Arguments>
void logDetail(std::string_view format, const Arguments&... arguments) {
    detail::logAt(kLogLevelDetailed, format, arguments...);
}
template <class... Arguments>
void NSPrintf(std::string_view format, const Arguments&... arguments) {
    detail::withErasedArguments(
        [&](FormatArguments erased) { _printToStandardOutput(format, erased); }, arguments...);
}
template <class... Arguments>
void NSPrintErrf(std::string_view format, const Arguments&... arguments) {
    detail::withErasedArguments(
        [&](FormatArguments erased) { _printToStandardError(format, erased); }, arguments...);
}

bool isLogVerboseVisible();
bool isLogDetailVisible();
/// Nothing when there is no file sink.
std::optional<std::string> getLogFilePath();
/// Raise "Configuration Fault" for a number that is no level.
std::string loggingLevelStrFile();
std::string loggingLevelStrStdio();
std::string _loggingLevelToString(std::uint32_t level);
std::string createCurrentDateTimeString();
std::string createCurrentDateTimeStringForLogFileName();

/// Level words, an optional folder ("~/Library/Logs/FAMILY/PRODUCT" when absent; a leading tilde is
/// expanded; created when missing) and two names. Absent or empty arguments fail an assertion.
/// Returns the log file's path.
std::string initLogging3(const std::optional<std::string>& fileLevel,
                         const std::optional<std::string>& stdoutLevel,
                         const std::optional<std::string>& logFolderPath,
                         const std::optional<std::string>& productFamilyName,
                         const std::optional<std::string>& productName);
/// Level words and a full path, absent for no file sink. Raises "Configuration Fault" for other
/// words.
std::optional<std::string> initLogging2(const std::optional<std::string>& fileLevelStr,
                                        const std::optional<std::string>& stdoutLevelStr,
                                        const std::optional<std::string>& logFilePath);
std::optional<std::string> initLogging(std::uint32_t fileLevel, std::uint32_t stdoutLevel,
                                       const std::optional<std::string>& logFilePath);
/// Raises "Configuration Fault" when the file cannot be opened.
std::optional<std::string> _initLogging(const std::optional<std::string>& logFilePath);
std::string __createLogFilePath(const std::string& folder, const std::string& productName);
std::string __createStringByRegeneratingLogFilePath();
/// 0xFFFFFFFF for a null stream.
std::uint32_t _fileLength(std::FILE* stream);
std::string __createCurrentThreadPrefixString();
/// Deliberate: does nothing. Every line carries its date and time.
void setLoggingHasDateTimeStamp(bool flag);

}  // namespace quillmore
