// How an operation ends that cannot be done: an exit status of sysexits.h and the one line that the
// caller reads. Thrown from any depth, caught once where the command line is run.
#pragma once

#include <sysexits.h>

#include <string>

#include "Platform/Values/Exception.h"

namespace quillmore::updatetool {

class Failure : public platform::Exception {
public:
    Failure(int exitStatus, const std::string& text)
        : Exception("Update Tool Failure", text), exitStatus_(exitStatus) {}
    int exitStatus() const { return exitStatus_; }

private:
    int exitStatus_;
};

[[noreturn]] void fail(int exitStatus, const std::string& text);
/// The text, ": " and the system's words for the current error number.
[[noreturn]] void failWithSystemError(int exitStatus, const std::string& text);
/// The path in quotes, cut when it is very long, with control characters and quotation marks
/// replaced: it came from whoever ran the tool and may neither forge nor flood the lines of a log.
std::string quoted(const std::string& path);

}  // namespace quillmore::updatetool
