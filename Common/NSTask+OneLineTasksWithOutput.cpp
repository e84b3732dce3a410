#include "Common/NSTask+OneLineTasksWithOutput.h"

#include <cstdint>
#include <memory>
#include <utility>

#include "Common/TaskOutputReader.h"
#include "Platform/Files/Pipe.h"
#include "Platform/Ports/Services.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"
#include "Platform/Values/Format.h"
#include "Platform/Values/TextEncoding.h"

namespace quillmore::OneLineTasksWithOutput {

namespace {

constexpr const char* kProcessFailed = "Process Failed";
constexpr std::int64_t kRunFailed = -1;
constexpr std::int64_t kWroteToStandardError = -2;
constexpr std::size_t kCommunicationsChunkSize = 64;

std::optional<std::string> stringFromUtf8(const std::string& bytes) {
    if (!platform::isUtf8(bytes)) return std::nullopt;
    return bytes;
}

int terminationStatusOrZero(const platform::Task& task) {
    try {
        return task.terminationStatus();
    } catch (const platform::Exception&) {
        return 0;
    }
}

platform::Error failedRun(const platform::Exception& exception,
                          const std::optional<std::string>& standardError, int terminationStatus) {
    // Deliberate: the entries end at the first that is missing, so that a child which never ran,
    // and so has no text of standard error, leaves no entry at all.
    platform::Dictionary userInfo;
    if (standardError) {
        userInfo[kStandardErrorKey] = *standardError;
        userInfo[platform::kLocalizedFailureReasonKey] = exception.name();
        if (exception.reason()) {
            userInfo[platform::kLocalizedDescriptionKey] = *exception.reason();
            userInfo[kTerminationStatusKey] = terminationStatus;
        }
    }
    return {kErrorDomain, kRunFailed, std::move(userInfo)};
}

std::optional<platform::Error> errorOfWarnings(const std::optional<std::string>& standardError,
                                               int terminationStatus) {
    if (!standardError || standardError->empty()) return std::nullopt;
    return platform::Error(
        kErrorDomain, kWroteToStandardError,
        {{kStandardErrorKey, *standardError}, {kTerminationStatusKey, terminationStatus}});
}

/// Deliberate: every chunk is decoded on its own. A character that lies across a boundary makes
/// both its chunks undecodable, and they are left out.
std::string textFromCommunicationsStream(int descriptor) {
    std::string text;
    for (;;) {
        const std::string chunk = platform::readAvailableData(descriptor, kCommunicationsChunkSize);
        if (chunk.empty()) return text;
        text += stringFromUtf8(chunk).value_or("");
    }
}

}  // namespace

std::optional<std::string> stringByLaunchingPath(const std::string& launchPath,
                                                 const std::vector<std::string>& withArguments,
                                                 const CreatedBlock& onCreatedDoBlock,
                                                 std::optional<platform::Error>* error) {
    platform::Pipe outputPipe;
    platform::Pipe errorPipe;
    const auto task = std::make_shared<platform::Task>(*platform::services().processes);
    task->setLaunchPath(launchPath);
    task->setArguments(withArguments);
    task->setStandardOutput(outputPipe);
    task->setStandardError(errorPipe);
    TaskOutputReader reader(task);
    std::optional<std::string> standardOutput;
    std::optional<std::string> standardError;
    try {
        reader.launchTaskAndRunSynchronous(onCreatedDoBlock);
        standardOutput = stringFromUtf8(reader.standardOutputData());
        standardError = stringFromUtf8(reader.standardErrorData());
        const int status = task->terminationStatus();
        if (status != 0) {
            throw platform::Exception(kProcessFailed,
                                      platform::format("Task terminationStatus was %d", status));
        }
    } catch (const platform::Exception& exception) {
        // Deliberate: not asked whether it is null; whoever may see a failure passes one.
        *error = failedRun(exception, standardError, terminationStatusOrZero(*task));
        return standardOutput;
    }
    if (error != nullptr) *error = errorOfWarnings(standardError, task->terminationStatus());
    return standardOutput;
}

std::optional<std::string> stringByLaunchingPath(const std::string& launchPath,
                                                 const std::vector<std::string>& withArguments,
                                                 AuthorizationObject& authorization,
                                                 const CreatedBlock&,
                                                 std::optional<platform::Error>* error) {
    platform::PrivilegedProcess started;
    // Deliberate: only the low 16 bits of the status count.
    const auto status =
        static_cast<std::int16_t>(platform::services().authorization->executeWithPrivileges(
            authorization.authorizationRef(), launchPath, withArguments,
            platform::Authorization::Communications::stream, started));
    if (status != 0) {
        if (error != nullptr) *error = platform::Error(kErrorDomain, status);
        return std::nullopt;
    }
    if (error != nullptr) error->reset();
    std::string text = textFromCommunicationsStream(started.communicationsStream.get());
    started.communicationsStream.reset();
    // Nobody asks how the tool ended; it must not stay in the process table for that.
    if (started.process > 0) platform::services().processes->abandon(started.process);
    return text;
}

}  // namespace quillmore::OneLineTasksWithOutput
