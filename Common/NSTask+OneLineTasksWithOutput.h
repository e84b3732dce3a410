// Runs a command-line program to its end and hands back what it printed, in one call: as the user,
// or with administrator rights. Each call runs on the calling thread alone.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Ports/Authorization.h"
#include "Platform/Values/Error.h"

namespace quillmore::OneLineTasksWithOutput {

inline constexpr const char* kErrorDomain = "com.apple.NSTask.OneLineTasksWithOutput";
/// Keys of the errors' user information: the text of standard error and the exit status, which of
/// a child killed by a signal is the signal's number.
inline constexpr const char* kStandardErrorKey = "standardError";
inline constexpr const char* kTerminationStatusKey = "terminationStatus";

/// Whatever holds an authorization that was obtained beforehand.
class AuthorizationObject {
public:
    virtual ~AuthorizationObject() = default;
    virtual platform::AuthorizationReference& authorizationRef() = 0;
};

/// Called once with the child's process id.
using CreatedBlock = std::function<void(pid_t)>;

/// `stringByLaunchingPath:withArguments:onCreatedDoBlock:error:`: the child's standard output;
/// nothing when it is not UTF-8 or the child was not launched. Returns when the child has ended and
/// both its streams are at their end. Standard input is the caller's.
/// Error -1: the run failed by an exception, the one of a non-zero exit status ("Process Failed")
/// included; the output is returned all the same. Error -2: exit status 0, but something was
/// written to standard error. `error` may be null only where a failure is out of the question.
std::optional<std::string> stringByLaunchingPath(const std::string& launchPath,
                                                 const std::vector<std::string>& withArguments,
                                                 const CreatedBlock& onCreatedDoBlock,
                                                 std::optional<platform::Error>* error);

/// `stringByLaunchingPath:withArguments:authorization:onCreatedDoBlock:error:`: what a tool that
/// runs as administrator writes to its communications stream, read to its end; the tool itself is
/// not waited for. Nothing when it was not started: then the error's code is the status of the
/// authorization, cut to 16 bits. The block is never called; `error` may be null.
std::optional<std::string> stringByLaunchingPath(const std::string& launchPath,
                                                 const std::vector<std::string>& withArguments,
                                                 AuthorizationObject& authorization,
                                                 const CreatedBlock& onCreatedDoBlock,
                                                 std::optional<platform::Error>* error);

}  // namespace quillmore::OneLineTasksWithOutput
