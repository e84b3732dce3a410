// ps ax -o comm: the name of every process, a line each, whole: the system's own program prints the
// 15 bytes that the kernel keeps, in which a longer name is never found. Also ps -p PROCESS, for
// the shell line that waits for a process, where the system has no such program; any other
// arguments are for that one.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Platform/Files/Paths.h"
#include "Platform/Linux/ProcFolder.h"
#include "Platform/Processes/Environment.h"
#include "Platform/Processes/Executable.h"
#include "Platform/Values/TextEncoding.h"

using namespace quillmore;

namespace {

constexpr int kNotFound = 127;

/// One line, whatever the name holds: a filter would take odd bytes for a binary file's.
std::string printable(std::string name) {
    std::ranges::replace_if(
        name, [](char byte) { return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f'; },
        '?');
    return platform::repairedUtf8(name);
}

int printTable() {
    const platform::ProcFolder processes;
    std::string table = "COMMAND\n";
    for (const pid_t process : processes.processes()) {
        // One that has ended meanwhile has no name.
        if (auto name = processes.wholeName(process)) table += printable(std::move(*name)) + '\n';
    }
    std::fputs(table.c_str(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

int printProcess(pid_t process) {
    std::printf("    PID CMD\n");
    const auto name = platform::ProcFolder().wholeName(process);
    if (name) std::printf("%7d %s\n", process, printable(*name).c_str());
    return name ? 0 : 1;
}

int runSystemsOwn(char** arguments) {
    const auto own = platform::executablePathOfThisProcess();
    const char* path = std::getenv("PATH");
    if (own && path != nullptr) {
        const std::string folder = platform::pathByDeletingLastComponent(*own);
        ::setenv("PATH", platform::pathWithoutFolder(path, folder).c_str(), 1);
        ::execvp("ps", arguments);
    }
    std::fprintf(stderr, "ps: the system's own: %s\n", std::strerror(own ? errno : ENOENT));
    return kNotFound;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (arguments == std::vector<std::string>{"ax", "-o", "comm"}) return printTable();
    if (arguments.size() == 2 && arguments[0] == "-p") {
        const std::string& number = arguments[1];
        const char* const end = number.data() + number.size();
        pid_t process = 0;
        const auto read = std::from_chars(number.data(), end, process);
        if (read.ec == std::errc{} && read.ptr == end && process > 0) return printProcess(process);
    }
    return runSystemsOwn(argv);
}
