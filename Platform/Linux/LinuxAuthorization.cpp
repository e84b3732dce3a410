#include "Platform/Linux/LinuxAuthorization.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <new>
#include <optional>

#include "Platform/Files/Paths.h"
#include "Platform/Files/Pipe.h"
#include "Platform/Interface/TerminalQuestion.h"
#include "Platform/Linux/AdministratorProgram.h"
#include "Platform/Linux/Polkit/PolkitModule.h"
#include "Platform/Processes/Headroom.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

constexpr int kPkexecDismissed = 126;

/// polkit's own question names the program and nothing else: its name has to say what it is for.
/// All are the same program.
const char* programNameFor(AuthorizationPurpose purpose) {
    switch (purpose) {
        case AuthorizationPurpose::installComponents:
            return "quillmore-install-components";
        case AuthorizationPurpose::moveToApplications:
            return "quillmore-move-to-applications";
        case AuthorizationPurpose::general:
            break;
    }
    return "quillmore-administrator";
}

/// pkexec has one status for all but a dismissal, and these words.
bool says(const AdministratorProgram::Failure& failure, const char* words) {
    return failure.text.find(words) != std::string::npos;
}
constexpr const char* kNobodyToAsk = "No authentication agent found";
constexpr const char* kNotAuthorized = "Not authorized";

bool isDismissal(const ProcessEnd& end) {
    return !end.signalled && end.value == kPkexecDismissed;
}

void waitUntilReadable(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    ::poll(&entry, 1, -1);
}

int32_t beginQuestion(int terminal, int32_t echo) {
    const auto kind = echo != 0 ? TerminalEcho::on : TerminalEcho::off;
    return beginTerminalQuestion(terminal, kind) ? 1 : 0;
}

constexpr QuillmorePolkitTerminal kTerminal{beginQuestion, endTerminalQuestion};

struct ReleaseAgent {
    const QuillmorePolkitModule* module = nullptr;
    void operator()(QuillmorePolkitAgent* agent) const { module->release(agent); }
};

std::string oneLine(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

using Words = std::vector<std::string>;

/// The program's own command for what it does itself, else that of a tool.
Words wordsFor(const std::string& toolPath, const Words& arguments) {
    if (toolPath == "/bin/rm" && arguments.size() == 2 && arguments[0] == "-rf")
        return {administrator::kRemove, arguments[1]};
    if (toolPath == "/bin/cp" && arguments.size() == 3 && arguments[0] == "-pR")
        return {administrator::kCopy, arguments[1], arguments[2]};
    Words words{administrator::kRun, toolPath};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

bool holdsZero(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

}  // namespace

class LinuxAuthorization::Reference final : public AuthorizationReference {
public:
    ~Reference() override {
        if (program) program->close();
    }
    Reference() = default;
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    /// Shared with whoever waits for a tool.
    std::shared_ptr<AdministratorProgram> program;
};

LinuxAuthorization::LinuxAuthorization(ProcessSpawner& spawner, LinuxAuthorizationOptions options)
    : spawner_(spawner),
      options_(std::move(options)),
      module_(pathByAppending(options_.moduleFolder, kQuillmorePolkitFileName),
              kQuillmorePolkitEntryPointName, kQuillmorePolkitVersion) {}

OSStatus LinuxAuthorization::create(std::unique_ptr<AuthorizationReference>& reference) {
    reference.reset(new (std::nothrow) Reference);
    return reference ? kAuthorizationSuccess : kAuthorizationInternal;
}

OSStatus LinuxAuthorization::copyRights(AuthorizationReference& reference,
                                        const std::vector<std::string>& rights,
                                        std::uint32_t flags) {
    auto* own = dynamic_cast<Reference*>(&reference);
    if (own == nullptr) return kAuthorizationInternal;
    const bool allKnown = std::all_of(rights.begin(), rights.end(), [](const std::string& right) {
        return right == kAuthorizationRightAdministrator;
    });
    if (!allKnown) return kAuthorizationDenied;
    if (rights.empty() || own->program) return kAuthorizationSuccess;
    try {
        return startProgram(*own, (flags & kAuthorizationFlagInteractionAllowed) != 0);
    } catch (const Exception& exception) {
        options_.problems->report(exception.description());
        return kAuthorizationInternal;
    }
}

OSStatus LinuxAuthorization::startProgram(Reference& reference, bool interactionAllowed) {
    const std::string program =
        pathByAppending(options_.programFolder, programNameFor(reference.purpose));
    if (options_.effectiveUser != 0) return startByPkexec(reference, program, interactionAllowed);
    auto started = std::make_shared<AdministratorProgram>(spawner_);
    if (started->start({program}, waitUntilReadable)) {
        options_.problems->report(program + " did not start");
        return kAuthorizationInternal;
    }
    reference.program = std::move(started);
    return kAuthorizationSuccess;
}

/// What pkexec is going to be answered is asked before: afterwards its status alone does not tell.
OSStatus LinuxAuthorization::startByPkexec(Reference& reference, const std::string& program,
                                           bool interactionAllowed) {
    if (const auto lack = lackOf(kHeadroomOfGLib)) {
        options_.problems->report("polkit: " + lack->localizedDescription());
        return kAuthorizationInternal;
    }
    const auto module = module_.open();
    if (!module) {
        options_.problems->report(module.error().localizedDescription());
        return kAuthorizationInternal;
    }
    const QuillmorePolkitModule* polkit = *module;
    std::array<char, 512> text{};
    switch (polkit->checkProgram(program.c_str(), text.data(), text.size())) {
        case kQuillmorePolkitGranted:
            break;
        case kQuillmorePolkitDenied:
            return kAuthorizationDenied;
        case kQuillmorePolkitChallenge:
            if (!interactionAllowed) return kAuthorizationInteractionNotAllowed;
            break;
        default:
            options_.problems->report("polkit: " + std::string(text.data()));
            return kAuthorizationInternal;
    }
    return ask(reference, program, *polkit);
}

/// The desktop's agent is asked first: where there is one, the terminal is not the place.
OSStatus LinuxAuthorization::ask(Reference& reference, const std::string& program,
                                 const QuillmorePolkitModule& polkit) {
    const Words commandLine = {options_.pkexecPath, "--disable-internal-agent", program};
    auto started = std::make_shared<AdministratorProgram>(spawner_);
    auto failure = started->start(commandLine, waitUntilReadable);
    if (failure && says(*failure, kNobodyToAsk)) {
        std::array<char, 512> text{};
        const std::unique_ptr<QuillmorePolkitAgent, ReleaseAgent> agent(
            polkit.makeAgent(&kTerminal, reference.question.c_str(), text.data(), text.size()),
            {&polkit});
        if (!agent) {
            if (text[0] != '\0') options_.problems->report("polkit: " + std::string(text.data()));
            return text[0] != '\0' ? kAuthorizationInternal : kAuthorizationInteractionNotAllowed;
        }
        failure = started->start(commandLine,
                                 [&](int descriptor) { polkit.attend(agent.get(), descriptor); });
    }
    if (!failure) {
        reference.program = std::move(started);
        return kAuthorizationSuccess;
    }
    if (isDismissal(failure->end)) return kAuthorizationCanceled;
    if (says(*failure, kNotAuthorized)) return kAuthorizationDenied;
    options_.problems->report("pkexec: " + oneLine(failure->text));
    return kAuthorizationInternal;
}

OSStatus LinuxAuthorization::executeWithPrivileges(AuthorizationReference& reference,
                                                   const std::string& toolPath,
                                                   const std::vector<std::string>& arguments,
                                                   Communications communications,
                                                   PrivilegedProcess& started) {
    auto* own = dynamic_cast<Reference*>(&reference);
    if (own == nullptr || !own->program) return kAuthorizationDenied;
    // The program would read a text only up to a zero byte, and searches for nothing.
    if (!toolPath.starts_with('/') || holdsZero(toolPath) ||
        std::any_of(arguments.begin(), arguments.end(), holdsZero))
        return kAuthorizationToolExecuteFailure;
    std::optional<Pipe> pipe;
    std::vector<int> streams = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
    if (communications == Communications::stream) {
        try {
            streams[STDOUT_FILENO] = pipe.emplace().writeEnd().get();
        } catch (const Exception&) {
            return kAuthorizationInternal;
        }
    }
    const Words words = wordsFor(toolPath, arguments);
    if (words.front() != administrator::kRun) streams.clear();
    const auto command = own->program->execute(words, streams);
    if (!command) return kAuthorizationToolExecuteFailure;
    started.wait = [program = own->program, number = *command] { return program->wait(number); };
    if (pipe) started.communicationsStream = std::move(pipe->readEnd());
    return kAuthorizationSuccess;
}

void LinuxAuthorization::free(std::unique_ptr<AuthorizationReference> reference) {
    reference.reset();
}

}  // namespace quillmore::platform
