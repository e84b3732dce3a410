// A process folder with made-up processes, laid out as the kernel's.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/fakes/TestServices.h"

namespace quillmore::tests {

class FakeProcFolder {
public:
    struct Process {
        std::string executable = {};
        std::uint64_t startTime = 1;
        uid_t user = ::getuid();
        std::string name = "program";
    };

    std::string path() const { return folder_.path(); }
    void add(int number, const Process& process) const {
        const std::string folder = path() + "/" + std::to_string(number);
        std::filesystem::create_directories(folder);
        if (!process.executable.empty())
            std::filesystem::create_symlink(process.executable, folder + "/exe");
        std::string stat = std::to_string(number) + " (" + process.name + ") S";
        for (int field = 4; field < 22; ++field) stat += " 7";
        write(folder + "/stat", stat + " " + std::to_string(process.startTime) + " 9 9\n");
        const std::string user = std::to_string(process.user);
        write(folder + "/status",
              "Name:\tUid: 1\nTgid:\t7\nUid:\t" + user + "\t77\t77\t77\nGid:\t0\t0\t0\t0\n");
        write(folder + "/comm", process.name + "\n");
    }
    void writeOwnStatus(const std::string& text) const {
        std::filesystem::create_directories(path() + "/self");
        write(path() + "/self/status", text);
    }
    static void write(const std::string& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }

private:
    TemporaryFolder folder_;
};

}  // namespace quillmore::tests
