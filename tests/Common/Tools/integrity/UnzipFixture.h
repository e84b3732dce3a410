// A folder of a test's own in which archives are unpacked, with all that a mode can say.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Common/Tools/UnzipManager.h"
#include "tests/Common/Tools/integrity/ZipBuilder.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {

namespace fs = std::filesystem;

class Unzip : public testing::Test {
protected:
    TemporaryFolder folder;
    const mode_t umask_ = ::umask(0);

    ~Unzip() override { ::umask(umask_); }

    std::string at(const std::string& name) const { return folder.path() + "/" + name; }
    int extract(const std::string& bytes) const {
        std::ofstream(at("a.zip"), std::ios::binary) << bytes;
        return UnzipManager(at("a.zip")).extractAll();
    }
    int extract(const ZipBuilder& archive) const { return extract(archive.bytes()); }
    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(at(name), std::ios::binary).rdbuf();
        return text.str();
    }
    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        ::stat(at(name).c_str(), &status);
        return status.st_mode & 07777;
    }
};

}  // namespace quillmore::tests
