// What the logger keeps for the whole process. Private to the logger. The lock guards everything
// but the two levels, which every suppressed line reads without it; it is recursive because a
// change of file may itself log (a folder that had to be created).
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Common/utils/Logging.h"

namespace quillmore {

/// Lines between two looks at the length of the file: a look needs three seeks.
inline constexpr int kExamineLogFileLengthEveryNLines = 500;
/// A file of this length is left for a fresh one: one byte more than 50 MiB.
inline constexpr std::uint32_t kLogFileLengthToLeave = 50U * 1024 * 1024 + 1;
/// Lines about problems that wait for a file; of more than that only the number is kept.
inline constexpr std::size_t kMostKeptProblems = 50;

struct LogState {
    struct CloseStream {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };
    using Stream = std::unique_ptr<std::FILE, CloseStream>;

    std::recursive_mutex lock;
    std::atomic<std::uint32_t> _fileLoggingLevel{kLogLevelNormal};
    std::atomic<std::uint32_t> _stdioLoggingLevel{kLogLevelNormal};
    pid_t _PID = 0;
    std::optional<std::string> _ProcessName;
    std::optional<std::string> _logFolderPath;
    std::optional<std::string> _productName;
    std::optional<std::string> _optionalLogFilePath;
    Stream _optionalLogFileHandle;
    bool isLineCut = false;  ///< The file ends in the midst of a line: the disk was full.
    int _examineLogFileLengthInNLines = 0;
    bool isChangingFile = false;
    /// Lines about problems that were found while no file was open, for the next one.
    std::vector<std::string> keptProblems;
    int problemsNotKept = 0;

    /// Takes process identifier and name from the process information.
    void recordProcess();
};

/// The one state, made on first use.
LogState& logState();

}  // namespace quillmore
