// A test that looks at the log: services, a fixed time zone, a main thread without a name, and a
// logger that starts unconfigured.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "Common/utils/Logging.h"
#include "Common/utils/ProblemLog.h"
#include "Platform/Threads/Thread.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {

inline constexpr const char* kLogFolder = "/Users/jo/Library/Logs/P/P";
inline constexpr const char* kLogFile = "/Users/jo/Library/Logs/P/P/P-2011-01-01-130405.log";

class LogTest : public testing::Test {
protected:
    LogTest() {
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
        platform::setCurrentThreadName(std::nullopt);
    }
    ~LogTest() override { platform::setCurrentThreadName(std::nullopt); }

    /// What a line of the main thread looks like while the clock stands still.
    static std::string line(const std::string& tag, const std::string& message) {
        return "2011-01-01 13:04:05.0000 Quillmore[" + std::to_string(::getpid()) + "] " + tag +
               " [0x1a2b] " + message + "\n";
    }
    /// The default folder, with "P" as both names.
    static std::string configure(const std::string& fileLevel, const std::string& stdoutLevel) {
        return initLogging3(fileLevel, stdoutLevel, std::nullopt, "P", "P");
    }
    static void configureTerminal(const std::string& stdoutLevel) {
        initLogging2("error", stdoutLevel, std::nullopt);
    }
    std::string logFile() const { return services.read(kLogFile); }

    /// The messages of lines written by the main thread, without what stands before them.
    static std::vector<std::string> messages(const std::string& text) {
        const std::string marker = "[0x1a2b] ";
        std::vector<std::string> result;
        std::istringstream lines(text);
        for (std::string one; std::getline(lines, one);) {
            const auto found = one.find(marker);
            result.push_back(found == std::string::npos ? one : one.substr(found + marker.size()));
        }
        return result;
    }

    ProblemLog problemLog;
    TestServices services{&problemLog};
};

}  // namespace quillmore::tests
