// What tests of the process spawner share: the real one, a folder for programs, short ways to run.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "Platform/Processes/ProcessSpawner.h"
#include "Platform/Processes/Task.h"
#include "Platform/Values/Exception.h"

namespace quillmore::tests {

using platform::Pipe;
using platform::ProcessEnd;
using platform::ProcessRequest;

class ProcessSpawner : public testing::Test {
protected:
    ProcessSpawner() : folder_(testing::TempDir() + "quillmore-spawner-XXXXXX") {
        if (::mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no temporary folder");
    }
    ~ProcessSpawner() override { std::filesystem::remove_all(folder_); }

    std::string makeFile(const std::string& text, mode_t mode) const {
        const std::string path = folder_ + "/program";
        std::ofstream(path) << text;
        ::chmod(path.c_str(), mode);
        return path;
    }
    static ProcessRequest shell(const std::string& script) {
        ProcessRequest request;
        request.launchPath = "/bin/sh";
        request.arguments = {"-c", script};
        return request;
    }
    ProcessEnd run(const ProcessRequest& request) {
        return spawner_->wait(spawner_->spawn(request));
    }
    /// What the child writes to its standard output.
    std::string outputOf(ProcessRequest request) {
        Pipe pipe;
        request.standardOutput = pipe.writeEnd().get();
        const pid_t child = spawner_->spawn(request);
        pipe.writeEnd().reset();
        std::string output = pipe.readToEnd();
        spawner_->wait(child);
        return output;
    }
    /// The reason of the exception that a start raises.
    std::string reasonFor(const ProcessRequest& request) {
        try {
            spawner_->wait(spawner_->spawn(request));
        } catch (const platform::Exception& exception) {
            EXPECT_EQ(exception.name(), "NSInvalidArgumentException");
            return exception.reason().value_or("");
        }
        return "started";
    }
    std::string reasonForPath(const std::string& path) {
        ProcessRequest request;
        request.launchPath = path;
        return reasonFor(request);
    }

    std::unique_ptr<platform::ProcessSpawner> spawner_ = platform::makePosixProcessSpawner();
    std::string folder_;
};

}  // namespace quillmore::tests
