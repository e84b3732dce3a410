// A temporary folder that stands for the system's root, with a file manager that takes it for that.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "Platform/Files/FileManager.h"

namespace quillmore::tests {

/// A folder of the test's own under the system's temporary folder.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "quillmore-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Paths given to its functions are the system's ("/Library/..."), inside the folder.
class TemporaryRoot {
public:
    std::string host(const std::string& path) const { return root.path() + path; }
    void makeFolder(const std::string& path) const {
        std::filesystem::create_directories(host(path));
    }
    /// Writes a file with its parent folders.
    void makeFile(const std::string& path, const std::string& bytes, mode_t mode = 0644) const {
        makeFolder(path.substr(0, path.rfind('/')));
        std::ofstream(host(path), std::ios::binary) << bytes;
        ::chmod(host(path).c_str(), mode);
    }
    std::string read(const std::string& path) const {
        std::ostringstream text;
        text << std::ifstream(host(path), std::ios::binary).rdbuf();
        return text.str();
    }

    TemporaryFolder root;
    platform::FileManager files{root.path()};
};

}  // namespace quillmore::tests
