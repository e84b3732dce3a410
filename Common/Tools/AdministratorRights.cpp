#include "Common/Tools/AdministratorRights.h"

#include <cstdint>
#include <utility>

#include "Platform/Ports/Services.h"
#include "Platform/Values/Exception.h"

namespace quillmore {

namespace {

constexpr const char* kAdministratorRight = "system.privilege.admin";
constexpr std::uint32_t kAskForRights = platform::kAuthorizationFlagInteractionAllowed |
                                        platform::kAuthorizationFlagExtendRights |
                                        platform::kAuthorizationFlagPreAuthorize;

}  // namespace

AdministratorRights::AdministratorRights() : authorization_(*platform::services().authorization) {}

AdministratorRights::~AdministratorRights() {
    free();
}

platform::OSStatus AdministratorRights::create() {
    return authorization_.create(reference_);
}

platform::OSStatus AdministratorRights::ask(platform::AuthorizationPurpose purpose,
                                            const std::string& question) {
    reference_->purpose = purpose;
    reference_->question = question;
    return authorization_.copyRights(*reference_, {kAdministratorRight}, kAskForRights);
}

platform::OSStatus AdministratorRights::start(const std::string& path,
                                              const std::vector<std::string>& arguments,
                                              platform::PrivilegedProcess& started) {
    const platform::OSStatus status = authorization_.executeWithPrivileges(
        *reference_, path, arguments, platform::Authorization::Communications::none, started);
    wasCancelled_ = status == platform::kAuthorizationCanceled;
    return status;
}

platform::OSStatus AdministratorRights::startUnattended(const std::string& path,
                                                        const std::vector<std::string>& arguments) {
    platform::PrivilegedProcess started;
    const platform::OSStatus status = start(path, arguments, started);
    // The program goes on by itself; it must leave no zombie.
    if (status == platform::kAuthorizationSuccess && started.process > 0)
        platform::services().processes->abandon(started.process);
    return status;
}

std::optional<platform::ProcessEnd> AdministratorRights::run(
    const std::string& path, const std::vector<std::string>& arguments) {
    platform::PrivilegedProcess started;
    if (start(path, arguments, started) != platform::kAuthorizationSuccess) return std::nullopt;
    try {
        return started.wait ? started.wait()
                            : platform::services().processes->wait(started.process);
    } catch (const platform::Exception&) {
        return std::nullopt;
    }
}

void AdministratorRights::free() {
    if (reference_) authorization_.free(std::move(reference_));
}

}  // namespace quillmore
