#include "Platform/Qt/DisplayProbe.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QGuiApplication>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "Platform/Files/Pipe.h"
#include "Platform/Values/Exception.h"

namespace quillmore::platform {

namespace {

constexpr char kAllIsWell = '+';
constexpr char kEndOfReason = '\n';
constexpr int kLongestReason = 400;
constexpr std::size_t kLongestReport = 4096;

int reportDescriptor = -1;

/// The toolkit's own words about a display it cannot use: the first are to the point, the later
/// ones say what to install. At the last the process is of no use any more.
void sendMessage(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtDebugMsg || type == QtInfoMsg) return;
    const QByteArray line = text.simplified().toUtf8().left(kLongestReason) + kEndOfReason;
    [[maybe_unused]] const auto sent =
        ::write(reportDescriptor, line.constData(), static_cast<std::size_t>(line.size()));
    if (type == QtFatalMsg) ::_exit(1);
}

/// Nothing of the program may happen in the child: it can be killed, is silent and leaves no core.
void becomeHarmless() {
    for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGABRT, SIGPIPE}) ::signal(number, SIG_DFL);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::setenv("LC_ALL", "C.UTF-8", 1);  // the toolkit warns of others, which is beside the point
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int descriptor = 0; descriptor <= 2; ++descriptor) ::dup2(nowhere, descriptor);
}

[[noreturn]] void tryDisplay(int descriptor) {
    becomeHarmless();
    reportDescriptor = descriptor;
    qInstallMessageHandler(sendMessage);
    int count = 1;
    char name[] = "Quillmore";
    std::array<char*, 2> arguments{name, nullptr};
    const QGuiApplication application(count, arguments.data());
    const bool sent = ::write(descriptor, &kAllIsWell, 1) == 1;
    ::_exit(sent ? 0 : 1);
}

/// Everything that the child has to say; nothing when it does not end in time.
std::optional<std::string> readReport(int descriptor, std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string report;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd entry{descriptor, POLLIN, 0};
        const int ready = left.count() < 0 ? 0 : ::poll(&entry, 1, static_cast<int>(left.count()));
        if (ready == 0) return std::nullopt;
        if (ready < 0 && errno == EINTR) continue;
        char bytes[512];
        const ssize_t count = ::read(descriptor, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return report;
        if (report.size() < kLongestReport) report.append(bytes, static_cast<std::size_t>(count));
        if (report.back() == kAllIsWell) return report;
    }
}

int waitForEnd(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return status;
}

}  // namespace

std::optional<std::string> problemWithDisplay(std::chrono::milliseconds patience) {
    std::optional<Pipe> pipe;
    try {
        pipe.emplace();
    } catch (const Exception&) {
        return "no pipe for trying the display";
    }
    const pid_t process = ::fork();
    if (process < 0) return "no process for trying the display";
    if (process == 0) tryDisplay(pipe->writeEnd().get());
    pipe->writeEnd().reset();
    std::optional<std::string> report = readReport(pipe->readEnd().get(), patience);
    ::kill(process, SIGKILL);
    const int status = waitForEnd(process);
    if (!report) return "the display does not answer";
    if (!report->empty() && report->back() == kAllIsWell) return std::nullopt;
    const std::string reason = report->substr(0, report->find(kEndOfReason));
    if (!reason.empty()) return reason;
    return WIFSIGNALED(status) ? "the display crashed the toolkit" : "the display cannot be opened";
}

}  // namespace quillmore::platform
