// The rights of an administrator, for as long as their owner lives: asked for once, used for any
// number of programs, given back at the end however it is reached. Used by one thread at a time;
// a question blocks it until it is answered.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Ports/Authorization.h"
#include "Platform/Processes/ProcessSpawner.h"

namespace quillmore {

class AdministratorRights {
public:
    AdministratorRights();
    ~AdministratorRights();
    AdministratorRights(const AdministratorRights&) = delete;
    AdministratorRights& operator=(const AdministratorRights&) = delete;

    // In this order; only a success leads on. Each answers the status of the authorization.
    /// Makes the reference, without any right yet. Nobody is asked.
    platform::OSStatus create();
    /// Obtains the right to act as administrator; the user is asked for credentials if need be, and
    /// told the purpose, in these words of his language, where the system's question can.
    platform::OSStatus ask(platform::AuthorizationPurpose purpose, const std::string& question);
    /// Starts a program as root and leaves it to itself: success says only that it was started.
    platform::OSStatus startUnattended(const std::string& path,
                                       const std::vector<std::string>& arguments);
    /// Runs a program as root and waits: how it ended; nothing when it did not start or could not
    /// be waited for.
    std::optional<platform::ProcessEnd> run(const std::string& path,
                                            const std::vector<std::string>& arguments);
    /// The last program did not start because the system asked once more and the user cancelled.
    bool wasCancelled() const { return wasCancelled_; }
    /// Gives the rights back before their owner goes. Does nothing without a reference.
    void free();

private:
    platform::OSStatus start(const std::string& path, const std::vector<std::string>& arguments,
                             platform::PrivilegedProcess& started);

    platform::Authorization& authorization_;
    std::unique_ptr<platform::AuthorizationReference> reference_;
    bool wasCancelled_ = false;
};

}  // namespace quillmore
