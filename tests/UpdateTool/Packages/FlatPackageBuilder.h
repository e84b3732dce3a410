// Makes flat installer packages with the archive library's own writers, which the update tool does
// not use: that what it reads is what others write is part of what the tests show.
#pragma once

#include <archive.h>
#include <archive_entry.h>

#include <string>
#include <vector>

#include "tests/UpdateTool/UpdateToolMachine.h"

namespace quillmore::tests {

struct PackedItem {
    std::string path;
    std::string contents;
    __LA_MODE_T mode = AE_IFREG | 0644;  ///< A link's contents are its target.
};

inline std::string packItems(const std::vector<PackedItem>& items, int (*format)(archive*),
                             int (*filter)(archive*)) {
    archive* writer = archive_write_new();
    format(writer);
    filter(writer);
    std::string bytes(1 << 20, '\0');
    std::size_t used = 0;
    archive_write_open_memory(writer, bytes.data(), bytes.size(), &used);
    for (const PackedItem& item : items) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, item.path.c_str());
        archive_entry_set_mode(entry, item.mode);
        const bool isLink = (item.mode & AE_IFMT) == AE_IFLNK;
        if (isLink) archive_entry_set_symlink(entry, item.contents.c_str());
        archive_entry_set_size(entry, isLink ? 0 : static_cast<la_int64_t>(item.contents.size()));
        archive_write_header(writer, entry);
        if (!isLink) archive_write_data(writer, item.contents.data(), item.contents.size());
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    bytes.resize(used);
    return bytes;
}

inline constexpr __LA_MODE_T kFolder = AE_IFDIR | 0700;

inline std::string flatPackage(const std::vector<PackedItem>& payload,
                               const std::string& location = "/Library/Filesystems") {
    return packItems(
        {{"PackageInfo", "<pkg-info format-version=\"2\" install-location=\"" + location + "\"/>"},
         {"Payload",
          packItems(payload, archive_write_set_format_cpio_newc, archive_write_add_filter_gzip)}},
        archive_write_set_format_xar, archive_write_add_filter_none);
}

inline std::vector<PackedItem> fileSystem(const std::string& version = "1.2.0") {
    return {{".", "", kFolder},
            {"./QuillmoreFS.fs", "", kFolder},
            {"./QuillmoreFS.fs/Contents", "", kFolder},
            {"./QuillmoreFS.fs/Contents/Info.plist", infoWithVersion(version)},
            {"./QuillmoreFS.fs/mount", "code", AE_IFREG | 06755},
            {"./QuillmoreFS.fs/Current", "Contents/Info.plist", AE_IFLNK | 0777}};
}

}  // namespace quillmore::tests
