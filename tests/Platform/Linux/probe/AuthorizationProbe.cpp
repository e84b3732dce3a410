// Drives the real authorization from lines on standard input and writes one line for each:
//   copy FLAGS               the status
//   execute PATH ARGUMENT... the status
//   stream PATH ARGUMENT...  the status, then what the tool wrote
//   wait                     "exit N" or "signal N" of the tool that was started
//   free                     "freed"; what follows is about another reference
//   purpose install|move WHY "set" for the next question
//   mapped TEXT              whether a library of that name is mapped
//   warn                     "warned" after a critical warning of GLib
//   loop                     "runs" with GLib's main loop turning from now on, as a toolkit's may
// Arguments: the folders of the polkit module and of the privileged program. Problems go to
// standard error. The termination signals are blocked as in the launcher.
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "Platform/Linux/LinuxAuthorization.h"
#include "Platform/Processes/ProcessSpawner.h"
#include "tests/fakes/PrintedProblems.h"

using namespace quillmore::platform;
using Communications = Authorization::Communications;

namespace {

class Probe {
public:
    Probe(const char* moduleFolder, const char* programFolder)
        : authorization_(*spawner_, options(moduleFolder, programFolder)) {
        authorization_.create(reference_);
    }

    std::string answer(const std::vector<std::string>& words) {
        const std::string& command = words.at(0);
        if (command == "copy") return copy(static_cast<std::uint32_t>(std::stoul(words.at(1))));
        if (command == "execute") return execute(words, Communications::none);
        if (command == "stream") return execute(words, Communications::stream);
        if (command == "wait") return wait();
        if (command == "free") return free();
        if (command == "purpose") return purpose(words);
        if (command == "mapped") return mapped(words.at(1));
        if (command == "loop") return loop();
        if (command == "warn") return warn();
        return "unknown command";
    }

private:
    LinuxAuthorizationOptions options(const char* moduleFolder, const char* programFolder) {
        LinuxAuthorizationOptions options;
        options.moduleFolder = moduleFolder;
        options.programFolder = programFolder;
        options.problems = &problems_;
        return options;
    }
    std::string copy(std::uint32_t flags) {
        return std::to_string(
            authorization_.copyRights(*reference_, {kAuthorizationRightAdministrator}, flags));
    }
    std::string execute(const std::vector<std::string>& words, Communications communications) {
        started_ = {};
        const OSStatus status = authorization_.executeWithPrivileges(
            *reference_, words.at(1), {words.begin() + 2, words.end()}, communications, started_);
        std::string text = std::to_string(status);
        char letter = 0;
        if (started_.communicationsStream) text += ' ';
        while (::read(started_.communicationsStream.get(), &letter, 1) == 1) text += letter;
        return text;
    }
    std::string free() {
        authorization_.free(std::move(reference_));
        authorization_.create(reference_);
        return "freed";
    }
    std::string purpose(const std::vector<std::string>& words) {
        reference_->purpose = words.at(1) == "install" ? AuthorizationPurpose::installComponents
                                                       : AuthorizationPurpose::moveToApplications;
        reference_->question = words.at(2);
        return "set";
    }
    std::string wait() {
        const ProcessEnd end = started_.wait();
        return (end.signalled ? "signal " : "exit ") + std::to_string(end.value);
    }
    static std::string mapped(const std::string& text) {
        std::ifstream maps("/proc/self/maps");
        std::string line;
        while (std::getline(maps, line))
            if (line.find(text) != std::string::npos) return "yes";
        return "no";
    }

    /// A function of GLib, which the module has mapped and this program does not link.
    template <class Function>
    static Function inGLib(const char* name) {
        void* library = ::dlopen("libglib-2.0.so.0", RTLD_NOW | RTLD_NOLOAD);
        if (library == nullptr) throw std::runtime_error("no GLib");
        return reinterpret_cast<Function>(::dlsym(library, name));
    }
    static std::string loop() {
        const auto iteration = inGLib<int (*)(void*, int)>("g_main_context_iteration");
        std::thread([iteration] {
            while (true) iteration(nullptr, 1);
        }).detach();
        return "runs";
    }
    static std::string warn() {
        constexpr int kCritical = 1 << 3;
        inGLib<void (*)(const char*, int, const char*, ...)>("g_log")(nullptr, kCritical, "test");
        return "warned";
    }

    std::unique_ptr<ProcessSpawner> spawner_ = makePosixProcessSpawner();
    quillmore::tests::PrintedProblems problems_;
    LinuxAuthorization authorization_;
    std::unique_ptr<AuthorizationReference> reference_;
    PrivilegedProcess started_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    sigset_t watched;
    ::sigemptyset(&watched);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) ::sigaddset(&watched, signal);
    ::pthread_sigmask(SIG_BLOCK, &watched, nullptr);
    Probe probe(arguments[1], arguments[2]);
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream stream(line);
        std::vector<std::string> words;
        for (std::string word; stream >> word;) words.push_back(word);
        if (!words.empty()) std::cout << probe.answer(words) << std::endl;
    }
}
