// Which volume a path lies on. A folder mounted a second time is a volume of its own: nothing can
// be renamed from one mount to another even of the same file system.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillmore::platform {

struct Volume {
    std::uint32_t deviceMajor = 0;
    std::uint32_t deviceMinor = 0;
    std::uint64_t mount = 0;  ///< 0 where the kernel does not tell.
    bool operator==(const Volume&) const = default;
};

/// Of the item itself, a link not followed; nothing when it is not there.
std::optional<Volume> volumeOf(const std::string& hostPath);
/// The mount point of the volume that an existing folder lies on; the folder is a path without
/// symbolic links.
std::string topFolderOfVolume(std::string folder);

}  // namespace quillmore::platform
