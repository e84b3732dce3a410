#include "UpdateTool/Caller/ProcessGuard.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>

#include "UpdateTool/Caller/Confinement.h"
#include "UpdateTool/Caller/OwnProgram.h"
#include "generated/PackagePublicKey.h"

extern char** environ;

namespace quillmore::updatetool {

namespace {

constexpr const char* kPath = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";
constexpr int kIgnoredSignals[] = {SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE, SIGALRM,
                                   SIGTERM, SIGTSTP,   SIGTTIN, SIGTTOU, SIGXCPU,
                                   SIGXFSZ, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2};
constexpr rlim_t kDescriptorLimit = 256;

/// By hand, for nothing else can be relied on yet; with the caller's rights, for so is the stream.
[[noreturn]] void refuse(int exitStatus, const char* why, const char* what = "") {
    char line[128];
    const int size = std::snprintf(line, sizeof line, "updateqm: %s%s\n", why, what);
    const bool told = ::seteuid(::getuid()) == 0 &&
                      ::write(STDERR_FILENO, line, static_cast<std::size_t>(size)) >= 0;
    ::_exit(told ? exitStatus : EX_IOERR);
}

void openStandardStreams() {
    for (int stream = 0; stream <= 2; ++stream)
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF && ::open("/dev/null", O_RDWR) != stream)
            refuse(EX_OSERR, "cannot open /dev/null");
}

void emptyEnvironment() {
    static char path[64];
    std::copy_n(kPath, std::char_traits<char>::length(kPath) + 1, path);
    static char* const only[] = {path, nullptr};
    environ = const_cast<char**>(only);
}

void resetSignals() {
    // The handlers before the mask: what the caller left pending must not end the process.
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    for (const int signal : kIgnoredSignals) ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &action, nullptr);
    const itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
    ::setitimer(ITIMER_VIRTUAL, &off, nullptr);
    ::setitimer(ITIMER_PROF, &off, nullptr);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// A limit is lifted altogether where root may do that, and else as far as it goes.
struct Limit {
    decltype(RLIMIT_CORE) resource;
    const char* name;
    rlim_t wanted;
    rlim_t enough;
};
constexpr rlim_t kStackLimit = rlim_t{8} << 20;
constexpr rlim_t kRoomEnough = rlim_t{8} << 30;
constexpr Limit kLimits[] = {{RLIMIT_FSIZE, "file size", RLIM_INFINITY, kRoomEnough},
                             {RLIMIT_CPU, "processor time", RLIM_INFINITY, 3600},
                             {RLIMIT_AS, "memory", RLIM_INFINITY, kRoomEnough},
                             {RLIMIT_DATA, "data", RLIM_INFINITY, kRoomEnough},
                             {RLIMIT_STACK, "the stack", kStackLimit, kStackLimit},
                             {RLIMIT_NOFILE, "descriptors", kDescriptorLimit, kDescriptorLimit}};

void liftLimits() {
    const rlimit none{0, 0};
    if (::setrlimit(RLIMIT_CORE, &none) != 0) refuse(EX_OSERR, "cannot forbid core files");
    for (const Limit& limit : kLimits) {
        const rlimit wanted{limit.wanted, limit.wanted};
        if (::setrlimit(limit.resource, &wanted) == 0) continue;
        rlimit present{};
        if (::getrlimit(limit.resource, &present) != 0) continue;
        present.rlim_cur = std::min(limit.wanted, present.rlim_max);
        ::setrlimit(limit.resource, &present);
    }
}

void requireRoom() {
    for (const Limit& limit : kLimits) {
        rlimit present{};
        if (::getrlimit(limit.resource, &present) == 0 && present.rlim_cur >= limit.enough)
            continue;
        refuse(EX_OSERR, "a limit is too low: raise it (ulimit): ", limit.name);
    }
}

}  // namespace

void makeProcessSafe(int argumentCount) {
    resetSignals();
    liftLimits();  // before descriptors are opened: there may be room for none
    openStandardStreams();
    if (argumentCount < 1) refuse(EX_USAGE, "it was started without a name");
    if (!closeOtherDescriptors()) refuse(EX_OSERR, "cannot close the descriptors of the caller");
    emptyEnvironment();
    requireRoom();
    ::umask(077);
    if (::chdir("/") != 0) refuse(EX_OSERR, "cannot change to the root folder");
    if (!keepNeededCapabilities()) refuse(EX_OSERR, "cannot give capabilities of root up");
    makeUndumpable();
    if (OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) != 1)
        refuse(EX_OSERR, "libcrypto cannot be used");
}

Context programContext() {
    Context context;
    context.publicKey = kPackagePublicKey;
    context.secondSignature =
        kRequireSha256 ? SecondSignature::isRequired : SecondSignature::isOptional;
    context.programPath = ownProgramPath();
    context.callerUser = ::getuid();
    context.callerGroup = ::getgid();
    context.administrator = isAdministratorsRun(context.programPath);
    context.trustedGroups = trustedGroups();
    return context;
}

}  // namespace quillmore::updatetool
