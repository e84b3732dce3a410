// A stand-in for a real application: notes in its log that it started, stays until it is asked to
// quit (SIGTERM), notes that too and ends. Built as the sample core and as the Finder of a sandbox
// machine; SAMPLE_LOG_FILE is the log's place under the home folder.
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    const passwd* account = getpwuid(getuid());
    return account && account->pw_dir ? account->pw_dir : "/";
}

/// Makes the folders above a file; one that cannot be made is noticed when the file is opened.
void makeParentFolders(const std::string& file) {
    for (auto slash = file.find('/', 1); slash != std::string::npos;
         slash = file.find('/', slash + 1)) {
        mkdir(file.substr(0, slash).c_str(), 0755);
    }
}

std::string dateAndTime() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts)};
}

class Log {
public:
    Log(const std::string& path, std::string program) : program_(std::move(program)) {
        makeParentFolders(path);
        file_ = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    }
    ~Log() {
        if (file_ >= 0) close(file_);
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    bool isOpen() const { return file_ >= 0; }

    /// One write a line, so that two processes never mix theirs.
    bool line(const std::string& message) const {
        const std::string text =
            dateAndTime() + " " + program_ + "[" + std::to_string(getpid()) + "] " + message + "\n";
        return write(file_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

private:
    std::string program_;
    int file_ = -1;
};

}  // namespace

int main(int, char** arguments) {
    sigset_t endings;
    sigemptyset(&endings);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&endings, signal);
    sigprocmask(SIG_BLOCK, &endings, nullptr);

    const std::string path = arguments[0] ? arguments[0] : SAMPLE_NAME;
    const Log log(homeFolder() + "/" SAMPLE_LOG_FILE, path.substr(path.rfind('/') + 1));
    if (!log.isOpen() || !log.line("did start")) return EXIT_FAILURE;
    int signal = 0;
    sigwait(&endings, &signal);
    return log.line("was asked to quit, will end") ? EXIT_SUCCESS : EXIT_FAILURE;
}
