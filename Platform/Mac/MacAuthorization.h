// Administrator rights by Authorization Services. Safe on any thread; one reference belongs to one
// thread at a time.
#pragma once

#include <mutex>

#include "Platform/Ports/Authorization.h"

namespace quillmore::platform {

class MacAuthorization final : public Authorization {
public:
    OSStatus create(std::unique_ptr<AuthorizationReference>& reference) override;
    OSStatus copyRights(AuthorizationReference& reference, const std::vector<std::string>& rights,
                        std::uint32_t flags) override;
    /// The system starts the tool as a child of this process but does not tell which; the process
    /// table does. `started.process` is 0 when it could not be told (other children were started as
    /// root at the same moment): waiting for it fails then. The communications stream is also the
    /// tool's standard input. -60031 for a tool path that is not absolute, and for texts that hold
    /// a zero: the system would read them only up to there.
    OSStatus executeWithPrivileges(AuthorizationReference& reference, const std::string& toolPath,
                                   const std::vector<std::string>& arguments,
                                   Communications communications,
                                   PrivilegedProcess& started) override;
    void free(std::unique_ptr<AuthorizationReference> reference) override;

private:
    std::mutex mutex_;  // one start at a time, so that its child can be told
};

}  // namespace quillmore::platform
