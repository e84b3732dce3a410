// Port: the right to act as administrator, with the calls and status codes of Authorization
// Services. Test double: FakeAuthorization.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Processes/ProcessSpawner.h"

namespace quillmore::platform {

using OSStatus = std::int32_t;

inline constexpr OSStatus kAuthorizationSuccess = 0;
inline constexpr OSStatus kAuthorizationDenied = -60005;
inline constexpr OSStatus kAuthorizationCanceled = -60006;
inline constexpr OSStatus kAuthorizationInteractionNotAllowed = -60007;
inline constexpr OSStatus kAuthorizationInternal = -60008;
inline constexpr OSStatus kAuthorizationToolExecuteFailure = -60031;

inline constexpr std::uint32_t kAuthorizationFlagDefaults = 0;
inline constexpr std::uint32_t kAuthorizationFlagInteractionAllowed = 1;
inline constexpr std::uint32_t kAuthorizationFlagExtendRights = 2;
inline constexpr std::uint32_t kAuthorizationFlagPreAuthorize = 16;

/// What an administrator is asked to allow.
enum class AuthorizationPurpose { general, installComponents, moveToApplications };

/// One reference, from create to free, stands for one question at most: what is executed under it
/// asks no more. Each body derives its own.
class AuthorizationReference {
public:
    virtual ~AuthorizationReference() = default;

    /// Set before copyRights, for systems whose question can say it.
    AuthorizationPurpose purpose = AuthorizationPurpose::general;
    std::string question;  ///< The purpose in the user's language; may be empty.
};

/// A tool that was started with administrator rights.
struct PrivilegedProcess {
    pid_t process = 0;  ///< A child of this process, to wait for or abandon; 0 when it is none.
    /// Where it is no child: blocks until it has ended. May be left uncalled.
    std::function<ProcessEnd()> wait;
    FileDescriptor communicationsStream;  ///< The tool's standard output, when asked for.
};

class Authorization {
public:
    enum class Communications { none, stream };

    virtual ~Authorization() = default;
    /// A reference with no rights, the empty environment and default flags.
    virtual OSStatus create(std::unique_ptr<AuthorizationReference>& reference) = 0;
    /// Asks the user if need be; blocks until answered.
    virtual OSStatus copyRights(AuthorizationReference& reference,
                                const std::vector<std::string>& rights, std::uint32_t flags) = 0;
    /// Starts a tool as root and returns as soon as it runs; success says no more than that.
    virtual OSStatus executeWithPrivileges(AuthorizationReference& reference,
                                           const std::string& toolPath,
                                           const std::vector<std::string>& arguments,
                                           Communications communications,
                                           PrivilegedProcess& started) = 0;
    /// Ends the reference (default flags: rights are not destroyed).
    virtual void free(std::unique_ptr<AuthorizationReference> reference) = 0;
};

}  // namespace quillmore::platform
