#include "Platform/Mac/MacAuthorization.h"

#include <Security/Authorization.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <type_traits>

#include "Platform/Mac/ProcessTable.h"

namespace quillmore::platform {

static_assert(std::is_same_v<OSStatus, ::OSStatus>);
static_assert(kAuthorizationSuccess == errAuthorizationSuccess);
static_assert(kAuthorizationDenied == errAuthorizationDenied);
static_assert(kAuthorizationCanceled == errAuthorizationCanceled);
static_assert(kAuthorizationInteractionNotAllowed == errAuthorizationInteractionNotAllowed);
static_assert(kAuthorizationInternal == errAuthorizationInternal);
static_assert(kAuthorizationToolExecuteFailure == errAuthorizationToolExecuteFailure);
static_assert(kAuthorizationFlagDefaults == ::kAuthorizationFlagDefaults);
static_assert(kAuthorizationFlagInteractionAllowed == ::kAuthorizationFlagInteractionAllowed);
static_assert(kAuthorizationFlagExtendRights == ::kAuthorizationFlagExtendRights);
static_assert(kAuthorizationFlagPreAuthorize == ::kAuthorizationFlagPreAuthorize);

namespace {

class Reference final : public AuthorizationReference {
public:
    explicit Reference(AuthorizationRef reference) : reference_(reference) {}
    ~Reference() override { ::AuthorizationFree(reference_, kAuthorizationFlagDefaults); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;
    AuthorizationRef get() const { return reference_; }

private:
    AuthorizationRef reference_;
};

struct StreamCloser {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

bool holdsZero(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

/// The form that the call takes; it does not write to the strings.
std::vector<char*> pointersTo(const std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (const std::string& text : strings) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// Held ready before the start: afterwards there is no way back if no descriptor can be had.
FileDescriptor reservedDescriptor() {
    return FileDescriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

/// Nothing was read through the stream, so that its buffer is empty and its descriptor is all of
/// it.
FileDescriptor descriptorOf(const Stream& stream, FileDescriptor reserved) {
    while (::dup2(::fileno(stream.get()), reserved.get()) < 0)
        if (errno != EINTR) return {};
    ::fcntl(reserved.get(), F_SETFD, FD_CLOEXEC);
    return reserved;
}

}  // namespace

OSStatus MacAuthorization::create(std::unique_ptr<AuthorizationReference>& reference) {
    AuthorizationRef created = nullptr;
    const OSStatus status = ::AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment,
                                                  kAuthorizationFlagDefaults, &created);
    if (status == kAuthorizationSuccess) reference = std::make_unique<Reference>(created);
    return status;
}

OSStatus MacAuthorization::copyRights(AuthorizationReference& reference,
                                      const std::vector<std::string>& rights, std::uint32_t flags) {
    const auto* own = dynamic_cast<const Reference*>(&reference);
    if (own == nullptr) return errAuthorizationInvalidRef;
    if (std::any_of(rights.begin(), rights.end(), holdsZero)) return kAuthorizationDenied;
    std::vector<AuthorizationItem> items;
    items.reserve(rights.size());
    for (const std::string& right : rights) items.push_back({right.c_str(), 0, nullptr, 0});
    const AuthorizationRights set{static_cast<UInt32>(items.size()), items.data()};
    return ::AuthorizationCopyRights(own->get(), &set, kAuthorizationEmptyEnvironment, flags,
                                     nullptr);
}

OSStatus MacAuthorization::executeWithPrivileges(AuthorizationReference& reference,
                                                 const std::string& toolPath,
                                                 const std::vector<std::string>& arguments,
                                                 Communications communications,
                                                 PrivilegedProcess& started) {
    const auto* own = dynamic_cast<const Reference*>(&reference);
    if (own == nullptr) return errAuthorizationInvalidRef;
    if (!toolPath.starts_with('/') || holdsZero(toolPath) ||
        std::any_of(arguments.begin(), arguments.end(), holdsZero))
        return kAuthorizationToolExecuteFailure;
    const bool wantsStream = communications == Communications::stream;
    FileDescriptor reserved;
    if (wantsStream && !(reserved = reservedDescriptor())) return kAuthorizationInternal;

    const std::vector<char*> pointers = pointersTo(arguments);
    std::FILE* opened = nullptr;
    const std::lock_guard lock(mutex_);
    const std::vector<ChildProcess> before = childrenOfThisProcess();
    const OSStatus status = ::AuthorizationExecuteWithPrivileges(
        own->get(), toolPath.c_str(), kAuthorizationFlagDefaults, pointers.data(),
        wantsStream ? &opened : nullptr);
    const Stream stream(opened);
    if (status != kAuthorizationSuccess) return status;
    started.process = childStartedAsRoot(before, childrenOfThisProcess());
    if (stream) started.communicationsStream = descriptorOf(stream, std::move(reserved));
    return kAuthorizationSuccess;
}

void MacAuthorization::free(std::unique_ptr<AuthorizationReference> reference) {
    reference.reset();
}

}  // namespace quillmore::platform
