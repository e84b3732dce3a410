// Authorization double: statuses to give and a record of the calls.
#pragma once

#include <unistd.h>

#include <functional>
#include <optional>

#include "Platform/Files/Pipe.h"
#include "Platform/Ports/Authorization.h"

namespace quillmore::tests {

class FakeAuthorization final : public platform::Authorization {
public:
    platform::OSStatus createStatus = 0;
    platform::OSStatus copyRightsStatus = 0;
    platform::OSStatus executeStatus = 0;
    std::function<void()> onExecute;
    /// "create", "copyRights RIGHT FLAGS", "execute PATH ARGUMENTS...", "free", in order.
    std::vector<std::string> calls;
    /// References not yet freed.
    int alive = 0;
    pid_t process = 4711;
    /// What a started tool has written to its communications stream; less than a pipe holds.
    std::optional<std::string> written;
    /// What the user was asked, and for what purpose.
    std::string question;
    platform::AuthorizationPurpose purpose = platform::AuthorizationPurpose::general;
    /// How a started tool ends that is no child of this process.
    std::optional<platform::ProcessEnd> endElsewhere;
    /// The reference that executeWithPrivileges was last given.
    const platform::AuthorizationReference* executedWith = nullptr;

    platform::OSStatus create(
        std::unique_ptr<platform::AuthorizationReference>& reference) override {
        calls.emplace_back("create");
        if (createStatus != 0) return createStatus;
        reference = std::make_unique<platform::AuthorizationReference>();
        ++alive;
        return 0;
    }
    platform::OSStatus copyRights(platform::AuthorizationReference& reference,
                                  const std::vector<std::string>& rights,
                                  std::uint32_t flags) override {
        question = reference.question;
        purpose = reference.purpose;
        std::string call = "copyRights";
        for (const std::string& right : rights) call += " " + right;
        calls.push_back(call + " " + std::to_string(flags));
        return copyRightsStatus;
    }
    platform::OSStatus executeWithPrivileges(platform::AuthorizationReference& reference,
                                             const std::string& toolPath,
                                             const std::vector<std::string>& arguments,
                                             Communications communications,
                                             platform::PrivilegedProcess& started) override {
        std::string call = "execute " + toolPath;
        for (const std::string& argument : arguments) call += " " + argument;
        if (communications == Communications::stream) call += " |";
        calls.push_back(call);
        executedWith = &reference;
        if (executeStatus != 0) return executeStatus;
        if (onExecute) onExecute();
        started.process = endElsewhere ? 0 : process;
        if (endElsewhere) started.wait = [end = *endElsewhere] { return end; };
        if (written) started.communicationsStream = streamOf(*written);
        return 0;
    }
    void free(std::unique_ptr<platform::AuthorizationReference> reference) override {
        calls.emplace_back("free");
        if (reference) --alive;
    }

private:
    static platform::FileDescriptor streamOf(const std::string& text) {
        platform::Pipe pipe;
        [[maybe_unused]] const auto count =
            ::write(pipe.writeEnd().get(), text.data(), text.size());
        return std::move(pipe.readEnd());
    }
};

}  // namespace quillmore::tests
