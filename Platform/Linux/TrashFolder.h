// One Trash: a folder with "files/" and "info/". Every item has a file in "info/", made first and
// exclusively, so that two programs never take the same name.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace quillmore::platform {

class TrashFolder {
public:
    /// A folder that must be the user's own (no link, nobody else's) is made with mode 0700 when it
    /// is missing. Nothing when there is none to be had.
    static std::optional<TrashFolder> open(const std::string& path, uid_t user);

    /// An item's place in the Trash, entered in "info/"; the entry goes again unless it is kept.
    class Place {
    public:
        ~Place();
        Place(Place&& other) noexcept;
        Place& operator=(Place&&) = delete;
        /// Where the item is to be put; nothing was there.
        const std::string& item() const { return item_; }
        void keep() { information_.clear(); }

    private:
        friend class TrashFolder;
        Place(std::string information, std::string item)
            : information_(std::move(information)), item_(std::move(item)) {}
        std::string information_;
        std::string item_;
    };
    /// `originalPath` as the entry is to say it: absolute, or relative to the volume's top folder.
    std::optional<Place> makePlace(const std::string& name, std::string_view originalPath) const;

    const std::string& path() const { return path_; }

private:
    explicit TrashFolder(std::string path) : path_(std::move(path)) {}
    std::string path_;
};

/// The text of an entry; the date is local time.
std::string trashInformation(std::string_view originalPath, time_t deletionDate);
/// The n-th name to try for an item: "a.app", "a.2.app", "a.3.app", ...; short enough for its
/// entry.
std::string nameInTrash(const std::string& name, int attempt);
/// 0 or an error number (EEXIST for a target that is there; EXDEV for another volume).
int renameExclusively(const std::string& from, const std::string& to);

}  // namespace quillmore::platform
