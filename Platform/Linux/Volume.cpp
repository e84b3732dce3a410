#include "Platform/Linux/Volume.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "Platform/Files/FileManager.h"

namespace quillmore::platform {

std::optional<Volume> volumeOf(const std::string& hostPath) {
    struct statx status = {};
    if (::statx(AT_FDCWD, hostPath.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_MNT_ID,
                &status) != 0)
        return std::nullopt;
    const bool tellsMount = (status.stx_mask & STATX_MNT_ID) != 0;
    return Volume{status.stx_dev_major, status.stx_dev_minor,
                  tellsMount ? std::uint64_t{status.stx_mnt_id} : 0};
}

std::string topFolderOfVolume(std::string folder) {
    const auto volume = volumeOf(folder);
    while (folder != "/") {
        std::string parent = pathByDeletingLastComponent(folder);
        if (parent.empty() || volumeOf(parent) != volume) break;
        folder = std::move(parent);
    }
    return folder;
}

}  // namespace quillmore::platform
