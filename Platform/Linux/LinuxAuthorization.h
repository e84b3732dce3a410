// Administrator rights by polkit: polkit answers whether the user may act as administrator, pkexec
// starts the tool. Passwords are asked for by the desktop's agent or, where there is none, by one
// of our own on the terminal. Already root: no question. Links no GLib; the module that does is
// opened on first use. Safe on any thread; one reference belongs to one thread at a time.
#pragma once

#include <unistd.h>

#include "Platform/Linux/ProcFolder.h"
#include "Platform/Ports/Authorization.h"
#include "Platform/Processes/Module.h"
#include "Platform/Values/Problems.h"

struct QuillmorePolkitModule;
struct QuillmorePolkitAgent;

namespace quillmore::platform {

class ProcessSpawner;
struct ProcessRequest;

/// The one right that is known.
inline constexpr const char* kAuthorizationRightAdministrator = "system.privilege.admin";

struct LinuxAuthorizationOptions {
    std::string moduleFolder;  ///< Holds the polkit module: the bundle's Contents/PlugIns.
    std::string pkexecPath = "/usr/bin/pkexec";
    std::string procFolder = "/proc";
    uid_t effectiveUser = ::geteuid();
    Problems* problems = &ignoredProblems();  ///< Told why polkit could not be asked.
};

class LinuxAuthorization final : public Authorization {
public:
    /// `spawner` must outlive this.
    LinuxAuthorization(ProcessSpawner& spawner, LinuxAuthorizationOptions options);

    OSStatus create(std::unique_ptr<AuthorizationReference>& reference) override;
    /// Of the flags only interaction-allowed makes a difference: polkit asks when it must and keeps
    /// what was granted by its own rules. -60005 refused or an unknown right, -60006 the user
    /// dismissed the question (on the terminal by Ctrl-D or an empty answer), -60007 a password is
    /// wanted but nobody may or can be asked, -60008 polkit cannot be reached.
    OSStatus copyRights(AuthorizationReference& reference, const std::vector<std::string>& rights,
                        std::uint32_t flags) override;
    /// -60005 without a right from copyRights. pkexec asks once more unless polkit keeps what was
    /// granted (our own action does, for a user at the machine); -60006 when the user dismisses it,
    /// -60031 when the tool was not started. After a success the child is the tool itself, and its
    /// end is there for the spawner's wait() however soon it ended.
    OSStatus executeWithPrivileges(AuthorizationReference& reference, const std::string& toolPath,
                                   const std::vector<std::string>& arguments,
                                   Communications communications,
                                   PrivilegedProcess& started) override;
    void free(std::unique_ptr<AuthorizationReference> reference) override;

private:
    class Reference;
    OSStatus askPolkit(Reference& reference, bool interactionAllowed);
    OSStatus awaitTool(const Reference& reference, pid_t process);

    ProcessSpawner& spawner_;
    const LinuxAuthorizationOptions options_;
    const ProcFolder processes_;
    Module<QuillmorePolkitModule> module_;
};

}  // namespace quillmore::platform
