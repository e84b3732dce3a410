#include "Platform/Processes/Task.h"

#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {
// The child's copies are its own: as long as this process holds one, a reader never sees the end.
class ChildEnds {
public:
    ChildEnds(Pipe* standardOutput, Pipe* standardError) : pipes_{standardOutput, standardError} {}
    ~ChildEnds() {
        for (Pipe* pipe : pipes_)
            if (pipe != nullptr) pipe->writeEnd().reset();
    }
    ChildEnds(const ChildEnds&) = delete;
    ChildEnds& operator=(const ChildEnds&) = delete;

    int descriptorOf(Pipe* pipe, int otherwise) const {
        if (pipe == nullptr) return otherwise;
        if (!pipe->writeEnd())
            throw Exception(kInvalidArgumentException, "the pipe of the task is closed");
        return pipe->writeEnd().get();
    }

private:
    Pipe* pipes_[2];
};

FileDescriptor openNullDevice() {
    FileDescriptor device(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!device) {
        throw Exception(kInvalidArgumentException,
                        "Couldn't open /dev/null (" + std::generic_category().message(errno) + ")");
    }
    return device;
}
}  // namespace

Task::~Task() {
    if (process_ != 0 && !end_) spawner_.abandon(process_);
}

void Task::launch() {
    if (process_ != 0) throw Exception(kInvalidArgumentException, "task already launched");
    const ChildEnds ends(standardOutput_, standardError_);
    FileDescriptor device;
    int otherwise = ProcessRequest::kInherit;
    if (request_.session == ProcessRequest::Session::own) {
        device = openNullDevice();
        otherwise = request_.standardInput = device.get();
    }
    request_.standardOutput = ends.descriptorOf(standardOutput_, otherwise);
    request_.standardError = ends.descriptorOf(standardError_, otherwise);
    process_ = spawner_.spawn(request_);
}

bool Task::isRunning() {
    return process_ != 0 && knownEnd() == nullptr;
}

void Task::waitUntilExit() {
    if (process_ == 0) throw Exception(kInvalidArgumentException, "task not launched");
    if (!end_) end_ = spawner_.wait(process_);
}

int Task::terminationStatus() const {
    return end().terminationStatus();
}

const ProcessEnd& Task::end() const {
    if (process_ == 0) throw Exception(kInvalidArgumentException, "task not launched");
    const ProcessEnd* const known = knownEnd();
    if (known == nullptr) throw Exception(kInvalidArgumentException, "task still running");
    return *known;
}

const ProcessEnd* Task::knownEnd() const {
    if (!end_) end_ = spawner_.poll(process_);
    return end_ ? &*end_ : nullptr;
}

}  // namespace quillmore::platform
