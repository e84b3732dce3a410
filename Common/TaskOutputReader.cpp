#include "Common/TaskOutputReader.h"

#include <utility>

#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/Pipe.h"

namespace quillmore {

namespace {
// Assertions name the facility that the reader belongs to.
constexpr const char* kFacilitySource = "Common/NSTask+OneLineTasksWithOutput.cpp";
// Longer than any child lives.
constexpr platform::RunLoop::Seconds kDistantFuture(1e12);
}  // namespace

TaskOutputReader::Registration::Registration(
    const char* name, const void* object,
    std::function<void(const platform::Notification&)> handler)
    : token_(platform::NotificationCenter::defaultCenter().addObserver(name, object,
                                                                       std::move(handler))) {}

TaskOutputReader::Registration::~Registration() {
    platform::NotificationCenter::defaultCenter().removeObserver(token_);
}

TaskOutputReader::TaskOutputReader(std::shared_ptr<platform::Task> preparedTask)
    : task(std::move(preparedTask)),
      outputRegistration_(platform::kFileHandleDataAvailableNotification,
                          &task->standardOutput()->readEnd(),
                          [this](const auto& posted) { standardOutNotification(posted); }),
      errorRegistration_(platform::kFileHandleDataAvailableNotification,
                         &task->standardError()->readEnd(),
                         [this](const auto& posted) { standardErrorNotification(posted); }),
      terminationRegistration_(platform::kTaskDidTerminateNotification, task.get(),
                               [this](const auto& posted) { terminatedNotification(posted); }),
      outputWait_(platform::waitForDataInBackgroundAndNotify(task->standardOutput()->readEnd())),
      errorWait_(platform::waitForDataInBackgroundAndNotify(task->standardError()->readEnd())) {}

void TaskOutputReader::launchTaskAndRunSynchronous(const std::function<void(pid_t)>& block) {
    task->launch();
    const pid_t pid = task->processIdentifier();
    logDetail("Launched process %d", pid);
    QMAssert2(pid != 0, "pid", kFacilitySource, __LINE__);
    terminationWait_ = platform::waitForTerminationInBackgroundAndNotify(*task);
    if (block) block(pid);
    while (!(taskComplete && outputClosed && errorClosed))
        if (!platform::RunLoop::current().runOnce(kDistantFuture)) break;
}

void TaskOutputReader::standardOutNotification(const platform::Notification&) {
    if (readAvailable(*task->standardOutput(), standardOutput, outputWait_)) outputClosed = true;
}

void TaskOutputReader::standardErrorNotification(const platform::Notification&) {
    if (readAvailable(*task->standardError(), standardError, errorWait_)) errorClosed = true;
}

void TaskOutputReader::terminatedNotification(const platform::Notification&) {
    taskComplete = true;
}

bool TaskOutputReader::readAvailable(platform::Pipe& pipe, std::string& buffer,
                                     std::unique_ptr<platform::RunLoop::Wait>& wait) {
    const std::string available = platform::readAvailableData(pipe.readEnd().get());
    if (available.empty()) return true;
    buffer += available;
    wait = platform::waitForDataInBackgroundAndNotify(pipe.readEnd());
    return false;
}

}  // namespace quillmore
