#include "Platform/Linux/Administrator/ProgramGuard.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>

#include "Platform/Linux/AdministratorProtocol.h"

namespace quillmore::platform::administrator {

namespace {

constexpr int kIgnoredSignals[] = {SIGHUP,  SIGINT,    SIGQUIT, SIGPIPE, SIGALRM,
                                   SIGTERM, SIGTSTP,   SIGTTIN, SIGTTOU, SIGXCPU,
                                   SIGXFSZ, SIGVTALRM, SIGPROF, SIGUSR1, SIGUSR2};

void resetSignals() {
    // The handlers before the mask: what is pending must not end the process.
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    for (const int signal : kIgnoredSignals) ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &action, nullptr);
    ::prctl(PR_SET_PDEATHSIG, 0);
    const itimerval off{};
    for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF})
        ::setitimer(timer, &off, nullptr);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// What an ordinary user may not lift stays: the program is of no use to one anyway.
void resetLimits() {
    const rlimit none{0, 0};
    const rlimit all{RLIM_INFINITY, RLIM_INFINITY};
    ::setrlimit(RLIMIT_CORE, &none);
    ::setrlimit(RLIMIT_FSIZE, &all);
    ::setrlimit(RLIMIT_CPU, &all);
}

void resetPriority() {
    const sched_param none{};
    ::sched_setscheduler(0, SCHED_OTHER, &none);
    if (::getpriority(PRIO_PROCESS, 0) > 0) ::setpriority(PRIO_PROCESS, 0, 0);
    cpu_set_t any;
    CPU_ZERO(&any);
    for (std::size_t processor = 0; processor < CPU_SETSIZE; ++processor) CPU_SET(processor, &any);
    ::sched_setaffinity(0, sizeof any, &any);
}

bool isLaunchersSocket(int descriptor) {
    int type = 0;
    socklen_t size = sizeof type;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 &&
           type == SOCK_SEQPACKET && nameSenders(descriptor);
}

bool closeStandardStreams() {
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing) return false;
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream)
        if (::dup2(nothing.get(), stream) != stream) return false;
    return true;
}

}  // namespace

std::optional<Client> makeProgramSafe() {
    resetSignals();
    resetLimits();
    resetPriority();
    ::umask(022);
    if (::close_range(STDERR_FILENO + 1, ~0U, 0) != 0) return std::nullopt;
    if (::prctl(PR_SET_DUMPABLE, 0) != 0 || ::chdir("/") != 0) return std::nullopt;
    if (!isLaunchersSocket(STDIN_FILENO)) return std::nullopt;
    Client client{FileDescriptor(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
                  ::getppid()};
    if (!client.socket || !closeStandardStreams()) return std::nullopt;
    return client;
}

}  // namespace quillmore::platform::administrator
