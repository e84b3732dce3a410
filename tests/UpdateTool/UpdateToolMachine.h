// A machine for the update tool: a root folder of the test's own, whose "root" is the user that
// runs the test, and signed packages to install on it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "Common/Tools/RsaSignatures.h"
#include "UpdateTool/Commands/Operations.h"
#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/PackageLabel.h"
#include "UpdateTool/Packages/Signatures.h"
#include "tests/Common/Tools/integrity/TestKeys.h"
#include "tests/Common/Tools/integrity/ZipBuilder.h"
#include "tests/fakes/TemporaryRoot.h"

namespace quillmore::tests {

inline const std::string kProduct = "/Library/Application Support/Quillmore";
inline const std::string kPlugIns = "/Library/Contextual Menu Items";

class UpdateToolMachine : public testing::Test {
protected:
    UpdateToolMachine() {
        context.root = folder.path();
        context.publicKey = testKeys().publicKey;
        context.programPath = host("/program");
        context.callerUser = ::getuid();
        context.callerGroup = ::getgid();
        context.administrator = true;
        context.owner = ::geteuid();
        context.group = ::getegid();
        context.audit = [this](const std::string& line) { auditLog.push_back(line); };
    }

    std::string host(const std::string& path) const { return folder.path() + path; }
    void makeFolder(const std::string& path, mode_t mode = 0755) const {
        std::filesystem::create_directories(host(path));
        ::chmod(host(path).c_str(), mode);
    }
    void makeFile(const std::string& path, const std::string& bytes, mode_t mode = 0644) const {
        std::filesystem::create_directories(host(path.substr(0, path.rfind('/'))));
        std::ofstream(host(path), std::ios::binary) << bytes;
        ::chmod(host(path).c_str(), mode);
    }
    /// The file, and beside it as PATH.sig and PATH.sig256 its signatures for a command and what it
    /// may become.
    void makeSigned(const std::string& path, const std::string& bytes, const std::string& command,
                    const std::string& name) const {
        makeFile(path, bytes);
        sign(path, command, name);
    }
    void makeSigned(const std::string& path, const ZipBuilder& archive, const std::string& command,
                    const std::string& name) const {
        makeSigned(path, archive.bytes(), command, name);
    }
    void sign(const std::string& path, const std::string& command, const std::string& name) const {
        writeSignature(path + ".sig", DigestKind::sha1, read(path), {command, name});
        writeSignature(path + ".sig256", DigestKind::sha256, read(path), {command, name});
    }
    void writeSignature(const std::string& path, DigestKind kind, const std::string& bytes,
                        const updatetool::Purpose& purpose,
                        const std::string& privateKey = testKeys().privateKey) const {
        const std::string label = updatetool::packageLabel(purpose.command, purpose.name);
        const auto signature = rsaSignature(privateKey, {bytesOf(label), bytesOf(bytes)}, kind);
        makeFile(path, std::string(signature->begin(), signature->end()));
    }

    /// The exit status; the line on standard error is in `errors`.
    int run(const updatetool::Arguments& commandLine) {
        std::ostringstream stream;
        const int status = updatetool::runCommand(context, commandLine, stream);
        errors = stream.str();
        return status;
    }

    bool exists(const std::string& path) const {
        return std::filesystem::exists(std::filesystem::symlink_status(host(path)));
    }
    std::string read(const std::string& path) const {
        std::ostringstream text;
        text << std::ifstream(host(path), std::ios::binary).rdbuf();
        return text.str();
    }
    mode_t modeOf(const std::string& path) const {
        struct stat status {};
        return ::lstat(host(path).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    /// Names that are no secret of the tool: neither its lock nor its receipts.
    std::vector<std::string> visibleNames(const std::string& path) const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(host(path)))
            if (const auto name = entry.path().filename().string();
                name != ".updateqm.lock" && name != ".receipts")
                names.push_back(name);
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder;
    updatetool::Context context;
    std::vector<std::string> auditLog;
    std::string errors;
};

/// A property list with both version keys.
inline std::string infoWithVersion(const std::string& version, const std::string& build = "1") {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
           "<key>CFBundleShortVersionString</key><string>" +
           version +
           "</string>"
           "<key>CFBundleVersion</key><string>" +
           build + "</string></dict></plist>";
}

}  // namespace quillmore::tests
