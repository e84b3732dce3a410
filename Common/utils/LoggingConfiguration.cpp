// Levels and file of the log.
#include <array>
#include <string_view>

#include "Common/utils/Errors.h"
#include "Common/utils/Folders.h"
#include "Common/utils/LogState.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Files/Paths.h"
#include "Platform/Ports/Services.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

constexpr std::array<std::string_view, 4> kLevelNames = {"error", "normal", "verbose", "detailed"};

// The assertion lines carry these expressions as the rest of the product's code base writes them.
#define QM_ASSERT_TEXT(argument)                                      \
    QMAssert2((argument).has_value(), #argument, __FILE__, __LINE__); \
    QMAssert2(!(argument)->empty(), "[" #argument " length]", __FILE__, __LINE__)

std::uint32_t levelFromString(const std::string& word, std::string_view complaint) {
    for (std::uint32_t level = 0; level < kLevelNames.size(); ++level) {
        if (kLevelNames[level] == word) return level;
    }
    __raiseException1(kConfigurationFault, complaint, word);
}

std::string homeFolder() {
    if (platform::haveServices()) return platform::services().homeFolder;
    return platform::homeFolderOfUser();
}

/// Appending, so that two processes with the same file name mix lines but never cut them; not
/// inherited by children; unbuffered, so that each line is one write and an abort loses nothing.
std::FILE* openForAppending(const std::string& path) {
    std::FILE* stream = std::fopen(__QMCurrentThreadFileManager().hostPath(path).c_str(), "ae");
    if (stream != nullptr) std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

std::string logFilePath(const std::string& folder, const std::string& productName) {
    return platform::format("%@/%@-%@.log", folder, productName,
                            createCurrentDateTimeStringForLogFileName());
}

}  // namespace

std::optional<std::string> getLogFilePath() {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    return state._optionalLogFilePath;
}

std::string _loggingLevelToString(std::uint32_t level) {
    if (level < kLevelNames.size()) return std::string(kLevelNames[level]);
    __raiseException1(kConfigurationFault, "Invalid logging level %d",
                      static_cast<std::int32_t>(level));
}

std::string loggingLevelStrFile() {
    return _loggingLevelToString(logState()._fileLoggingLevel);
}

std::string loggingLevelStrStdio() {
    return _loggingLevelToString(logState()._stdioLoggingLevel);
}

std::string __createLogFilePath(const std::string& folder, const std::string& productName) {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    state._logFolderPath = folder;
    state._productName = productName;
    ensureFolderPathExists(folder);
    return logFilePath(folder, productName);
}

std::string __createStringByRegeneratingLogFilePath() {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    // A file that was configured by its path alone has no folder to put the next one into.
    QMAssert2(state._logFolderPath.has_value(), "folderPath", __FILE__, __LINE__);
    return __createLogFilePath(*state._logFolderPath, state._productName.value_or(""));
}

std::string initLogging3(const std::optional<std::string>& fileLevel,
                         const std::optional<std::string>& stdoutLevel,
                         const std::optional<std::string>& logFolderPath,
                         const std::optional<std::string>& productFamilyName,
                         const std::optional<std::string>& productName) {
    QM_ASSERT_TEXT(fileLevel);
    QM_ASSERT_TEXT(stdoutLevel);
    QM_ASSERT_TEXT(productFamilyName);
    QM_ASSERT_TEXT(productName);
    const std::string folder =
        logFolderPath ? *logFolderPath
                      : platform::format("~/Library/Logs/%@/%@", *productFamilyName, *productName);
    const std::string path =
        __createLogFilePath(platform::expandTilde(folder, homeFolder()), *productName);
    return *initLogging2(fileLevel, stdoutLevel, path);
}

std::optional<std::string> initLogging2(const std::optional<std::string>& fileLevelStr,
                                        const std::optional<std::string>& stdoutLevelStr,
                                        const std::optional<std::string>& logFilePath) {
    QM_ASSERT_TEXT(fileLevelStr);
    QM_ASSERT_TEXT(stdoutLevelStr);
    const std::uint32_t fileLevel =
        levelFromString(*fileLevelStr, "Invalid file logging level \"%@\"");
    const std::uint32_t stdoutLevel =
        levelFromString(*stdoutLevelStr, "Invalid stdout logging level \"%@\"");
    return initLogging(fileLevel, stdoutLevel, logFilePath);
}

std::optional<std::string> initLogging(std::uint32_t fileLevel, std::uint32_t stdoutLevel,
                                       const std::optional<std::string>& logFilePath) {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    state.recordProcess();
    state._fileLoggingLevel = fileLevel;
    state._stdioLoggingLevel = stdoutLevel;
    // Before the new file is open: only a file of an earlier configuration gets these two.
    logVerbose("Logging (file) level %d", static_cast<std::int32_t>(fileLevel));
    logVerbose("Logging (stdout) level %d", static_cast<std::int32_t>(stdoutLevel));
    return _initLogging(logFilePath);
}

std::optional<std::string> _initLogging(const std::optional<std::string>& logFilePath) {
    LogState& state = logState();
    const std::lock_guard lock(state.lock);
    state.recordProcess();
    state._optionalLogFilePath = logFilePath;
    state._optionalLogFileHandle.reset();
    state.isLineCut = false;
    if (state._optionalLogFilePath) {
        state._optionalLogFileHandle.reset(openForAppending(*state._optionalLogFilePath));
        if (!state._optionalLogFileHandle) {
            __raiseException1(kConfigurationFault, "Failed to open log file \"%@\" for writing",
                              *state._optionalLogFilePath);
        }
        _writeKeptProblems();
    }
    return state._optionalLogFilePath;
}

void setLoggingHasDateTimeStamp(bool /*flag*/) {}

}  // namespace quillmore
