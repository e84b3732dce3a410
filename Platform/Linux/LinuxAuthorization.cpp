#include "Platform/Linux/LinuxAuthorization.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>

#include "Platform/Files/Paths.h"
#include "Platform/Interface/TerminalQuestion.h"
#include "Platform/Linux/Polkit/PolkitModule.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

/// Our own action, when a distributor installed its policy file, asks for one password for the
/// question and for pkexec; without it pkexec's general one is the next best.
constexpr std::array<const char*, 3> kActions = {"com.quillmore.launcher.administer",
                                                 "org.freedesktop.policykit.exec", nullptr};

constexpr int kPkexecDismissed = 126;
constexpr int kPkexecFailed = 127;
constexpr std::size_t kCommandNameLength = 15;

/// How a child ended, left in place for whoever waits for it; nothing while it runs.
std::optional<ProcessEnd> peekEnd(pid_t process) {
    siginfo_t information{};
    int result = 0;
    do {
        result =
            ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT);
    } while (result != 0 && errno == EINTR);
    // Taken already (SIGCHLD ignored): how it ended cannot be known, so it did not end well.
    if (result != 0) return ProcessEnd{false, kPkexecFailed};
    if (information.si_pid == 0) return std::nullopt;
    return ProcessEnd{information.si_code != CLD_EXITED, information.si_status};
}

/// What pkexec's end says. Its own name at the end means that it never became the tool; where other
/// users' processes are hidden the name is not known and the exit status has to tell.
OSStatus statusOfEnd(const ProcessEnd& end, bool endedAsPkexec) {
    if (!end.signalled && end.value == kPkexecDismissed) return kAuthorizationCanceled;
    if (!end.signalled && end.value == kPkexecFailed) return kAuthorizationToolExecuteFailure;
    return endedAsPkexec ? kAuthorizationToolExecuteFailure : kAuthorizationSuccess;
}

/// Returns early when the process behind the descriptor ends.
void pauseOrEnd(int processDescriptor, int milliseconds) {
    pollfd entry{processDescriptor, POLLIN, 0};
    ::poll(&entry, 1, milliseconds);  // a negative descriptor is passed over: a plain pause
}

bool openPipe(FileDescriptor& readEnd, FileDescriptor& writeEnd) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return false;
    readEnd = FileDescriptor(ends[0]);
    writeEnd = FileDescriptor(ends[1]);
    return true;
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

}  // namespace

/// With the agent on the terminal, which stays until pkexec has started a tool: should pkexec ask
/// too, both questions look the same, and Ctrl-D means the same.
class LinuxAuthorization::Reference final : public AuthorizationReference {
public:
    bool isAdministrator = false;
    std::unique_ptr<QuillmorePolkitAgent, ReleaseAgent> agent;

    /// Returns early when the process behind the descriptor ends.
    void pauseOrEnd(int processDescriptor, int milliseconds) const {
        if (agent)
            agent.get_deleter().module->attend(agent.get(), processDescriptor, milliseconds);
        else
            quillmore::platform::pauseOrEnd(processDescriptor, milliseconds);
    }
};

LinuxAuthorization::LinuxAuthorization(ProcessSpawner& spawner, LinuxAuthorizationOptions options)
    : spawner_(spawner),
      options_(std::move(options)),
      processes_(options_.procFolder),
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
    if (rights.empty()) return kAuthorizationSuccess;
    const OSStatus status =
        options_.effectiveUser == 0
            ? kAuthorizationSuccess
            : askPolkit(*own, (flags & kAuthorizationFlagInteractionAllowed) != 0);
    if (status == kAuthorizationSuccess) own->isAdministrator = true;
    return status;
}

OSStatus LinuxAuthorization::askPolkit(Reference& reference, bool interactionAllowed) {
    const auto module = module_.open();
    if (!module) {
        options_.problems->report(module.error().localizedDescription());
        return kAuthorizationInternal;
    }
    const QuillmorePolkitModule* polkit = *module;
    reference.agent.reset();
    const QuillmorePolkitQuestion question{kActions.data(), interactionAllowed ? 1 : 0, &kTerminal};
    QuillmorePolkitAgent* agent = nullptr;
    std::array<char, 512> text{};
    const auto answer = polkit->checkAuthorization(&question, &agent, text.data(), text.size());
    if (agent != nullptr) reference.agent = {agent, ReleaseAgent{polkit}};
    switch (answer) {
        case kQuillmorePolkitGranted:
            return kAuthorizationSuccess;
        case kQuillmorePolkitDenied:
            return kAuthorizationDenied;
        case kQuillmorePolkitChallenge:
            return kAuthorizationInteractionNotAllowed;
        case kQuillmorePolkitDismissed:
            return kAuthorizationCanceled;
        case kQuillmorePolkitError:
            break;
    }
    options_.problems->report("polkit: " + std::string(text.data()));
    return kAuthorizationInternal;
}

OSStatus LinuxAuthorization::executeWithPrivileges(AuthorizationReference& reference,
                                                   const std::string& toolPath,
                                                   const std::vector<std::string>& arguments,
                                                   Communications communications,
                                                   PrivilegedProcess& started) {
    auto* own = dynamic_cast<Reference*>(&reference);
    if (own == nullptr || !own->isAdministrator) return kAuthorizationDenied;
    // pkexec would take another text for an option or search its own PATH for it.
    if (!toolPath.starts_with('/')) return kAuthorizationToolExecuteFailure;

    ProcessRequest request;
    request.launchPath = toolPath;
    request.arguments = arguments;
    const bool throughPkexec = options_.effectiveUser != 0;
    if (throughPkexec) {
        request.arguments.insert(request.arguments.begin(), toolPath);
        request.launchPath = options_.pkexecPath;
    }
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    if (communications == Communications::stream) {
        if (!openPipe(readEnd, writeEnd)) return kAuthorizationInternal;
        request.standardOutput = writeEnd.get();
    }
    try {
        const pid_t process = spawner_.spawn(request);
        const OSStatus status = throughPkexec ? awaitTool(*own, process) : kAuthorizationSuccess;
        if (status != kAuthorizationSuccess) {
            spawner_.abandon(process);
            return status;
        }
        own->agent.reset();  // unattended from here on, it would keep other questions waiting
        started.process = process;
        started.communicationsStream = std::move(readEnd);
        return kAuthorizationSuccess;
    } catch (const Exception& exception) {
        options_.problems->report(exception.description());
        return kAuthorizationToolExecuteFailure;
    }
}

/// pkexec asks, then becomes the tool: from then on the process bears another name, even as an
/// ended child that nobody waited for. There is no event for it, so this looks every few
/// milliseconds (less often while a dialog is likely to be up).
OSStatus LinuxAuthorization::awaitTool(const Reference& reference, pid_t process) {
    const std::string pkexecName =
        lastPathComponent(options_.pkexecPath).substr(0, kCommandNameLength);
    const FileDescriptor processDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    for (int pause = 1;; pause = std::min(pause * 2, 50)) {
        // First the end, then the name: the name of an ended process is final.
        const auto end = peekEnd(process);
        const auto name = processes_.commandName(process);
        if (name && *name != pkexecName) return kAuthorizationSuccess;
        if (end) return statusOfEnd(*end, name.has_value());
        reference.pauseOrEnd(processDescriptor.get(), pause);
    }
}

void LinuxAuthorization::free(std::unique_ptr<AuthorizationReference> reference) {
    reference.reset();
}

}  // namespace quillmore::platform
