// What the machine's files say of the system and of this process. Reads afresh on every call: safe
// on any thread.
#pragma once

#include <string>

#include "Platform/Linux/ProcFolder.h"
#include "Platform/Ports/SystemInformation.h"

namespace quillmore::platform {

class FileManager;

/// The machine that `uname` names, or nothing when it cannot be asked.
std::optional<std::string> machineName();

class LinuxSystemInformation final : public SystemInformation {
public:
    /// `fileManager` must outlive this. `machine`: "x86_64" and the like.
    explicit LinuxSystemInformation(const FileManager& fileManager,
                                    std::string procFolder = "/proc",
                                    std::optional<std::string> machine = machineName())
        : fileManager_(fileManager),
          processes_(std::move(procFolder)),
          machine_(std::move(machine)) {}

    /// The version comes from "/System/Library/CoreServices/SystemVersion.plist", "ProductVersion":
    /// two or three decimal parts, a missing third counts as 0. Without a readable one the three
    /// version selectors fail; the architecture is told whenever the file exists.
    std::optional<std::int32_t> gestalt(FourCharCode selector) const override;
    std::optional<std::uint32_t> processFlags() const override;
    std::uint32_t currentThreadPort() const override;
    /// That of the 10.6 generation: all it can do is done here.
    double applicationFrameworkVersion() const override { return 1038.0; }

private:
    std::optional<std::int32_t> versionPart(std::size_t index) const;
    std::optional<std::int32_t> architecture() const;

    const FileManager& fileManager_;
    ProcFolder processes_;
    std::optional<std::string> machine_;
};

}  // namespace quillmore::platform
