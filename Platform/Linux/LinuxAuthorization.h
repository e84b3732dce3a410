// Administrator rights by polkit. Asking for the right is starting a small program through pkexec
// (Administrator/), which lives as long as the reference, carries out what is executed under it and
// asks no more. Passwords are asked for by the desktop's agent or, where there is none, by one of
// our own on the terminal. Already root: no question. Links no GLib; the module that does is opened
// on first use. Safe on any thread; one reference belongs to one thread at a time.
#pragma once

#include <unistd.h>

#include "Platform/Ports/Authorization.h"
#include "Platform/Processes/Module.h"
#include "Platform/Values/Problems.h"

struct QuillmorePolkitModule;

namespace quillmore::platform {

class ProcessSpawner;

/// The one right that is known.
inline constexpr const char* kAuthorizationRightAdministrator = "system.privilege.admin";

struct LinuxAuthorizationOptions {
    std::string moduleFolder;   ///< Holds the polkit module: the bundle's Contents/PlugIns.
    std::string programFolder;  ///< Holds the privileged program: the bundle's Contents/Helpers.
    std::string pkexecPath = "/usr/bin/pkexec";
    uid_t effectiveUser = ::geteuid();
    Problems* problems = &ignoredProblems();  ///< Told why polkit could not be asked.
};

class LinuxAuthorization final : public Authorization {
public:
    /// `spawner` must outlive this.
    LinuxAuthorization(ProcessSpawner& spawner, LinuxAuthorizationOptions options);

    OSStatus create(std::unique_ptr<AuthorizationReference>& reference) override;
    /// Of the flags only interaction-allowed makes a difference: polkit asks when it must. -60005
    /// refused or an unknown right, -60006 the user dismissed the question (on the terminal by
    /// Ctrl-D or an empty answer), -60007 a password is wanted but nobody may or can be asked,
    /// -60008 polkit or pkexec cannot be reached or started. A right that is held is not asked for
    /// again.
    OSStatus copyRights(AuthorizationReference& reference, const std::vector<std::string>& rights,
                        std::uint32_t flags) override;
    /// -60005 without a right from copyRights, -60031 when the tool was not started. The privileged
    /// program does the work of "/bin/rm -rf" and "/bin/cp -pR" itself, so that nothing it meets on
    /// its way can be exchanged under it. `started.wait` tells the tool's end.
    OSStatus executeWithPrivileges(AuthorizationReference& reference, const std::string& toolPath,
                                   const std::vector<std::string>& arguments,
                                   Communications communications,
                                   PrivilegedProcess& started) override;
    /// Commands that run come to their end all the same.
    void free(std::unique_ptr<AuthorizationReference> reference) override;

private:
    class Reference;
    OSStatus startProgram(Reference& reference, bool interactionAllowed);
    OSStatus startByPkexec(Reference& reference, const std::string& program,
                           bool interactionAllowed);
    OSStatus ask(Reference& reference, const std::string& program,
                 const QuillmorePolkitModule& polkit);

    ProcessSpawner& spawner_;
    const LinuxAuthorizationOptions options_;
    Module<QuillmorePolkitModule> module_;
};

}  // namespace quillmore::platform
