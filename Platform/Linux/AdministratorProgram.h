// The launcher's end of one privileged program: started, perhaps after a question; given commands;
// left to itself when this goes. For one thread.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Linux/AdministratorProtocol.h"
#include "Platform/Processes/ProcessSpawner.h"

namespace quillmore::platform {

class AdministratorProgram {
public:
    /// `spawner` must outlive this.
    explicit AdministratorProgram(ProcessSpawner& spawner) : spawner_(spawner) {}
    ~AdministratorProgram() { close(); }
    AdministratorProgram(const AdministratorProgram&) = delete;
    AdministratorProgram& operator=(const AdministratorProgram&) = delete;

    /// How whatever was to become the program ended before it did.
    struct Failure {
        ProcessEnd end;
        std::string text;  ///< What it wrote to its standard error.
    };
    /// Starts the command line and waits until the program says that it is ready; nothing then.
    /// `attend` is called with a descriptor and returns when that is readable. Raises an Exception
    /// when nothing can be started.
    std::optional<Failure> start(const std::vector<std::string>& commandLine,
                                 const std::function<void(int)>& attend);
    bool isReady() const { return bool(socket_); }

    /// The number of a command that runs now; nothing when the program refuses it, or is gone.
    std::optional<std::int32_t> execute(const std::vector<std::string>& words,
                                        const std::vector<int>& streams = {});
    /// Blocks until the command has ended. As killed when the program is gone before it says so.
    ProcessEnd wait(std::int32_t command);
    /// The program ends once the commands that run have ended; nobody waits for it.
    void close();

private:
    bool receive(administrator::Answer& answer);

    ProcessSpawner& spawner_;
    FileDescriptor socket_;
    pid_t process_ = 0;
    std::int32_t sent_ = 0;
    std::map<std::int32_t, ProcessEnd> ended_;
};

}  // namespace quillmore::platform
