#include "Platform/Linux/TrashFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/FileManager.h"

namespace quillmore::platform {

namespace {

constexpr std::string_view kEntryExtension = ".trashinfo";
constexpr std::size_t kLongestName = 255;
constexpr int kMostAttempts = 10000;

bool makeOwnFolder(const std::string& path, uid_t user) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return false;
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == user;
}

bool isUnreserved(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
           std::string_view("-_.~/").find(c) != std::string_view::npos;
}

std::string percentEncoded(std::string_view path) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : path) {
        if (isUnreserved(c)) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
        }
    }
    return encoded;
}

/// Never within a character of UTF-8.
void shorten(std::string& text, std::size_t length) {
    if (text.size() <= length) return;
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    text.resize(length);
}

bool isThere(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::string trashInformation(std::string_view originalPath, time_t deletionDate) {
    std::tm parts = {};
    char date[32];
    ::localtime_r(&deletionDate, &parts);
    const std::size_t length = std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &parts);
    return "[Trash Info]\nPath=" + percentEncoded(originalPath) +
           "\nDeletionDate=" + std::string(date, length) + "\n";
}

std::string nameInTrash(const std::string& name, int attempt) {
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot > 0 && name.size() - dot <= 16;
    std::string stem = hasExtension ? name.substr(0, dot) : name;
    const std::string end =
        (attempt > 1 ? "." + std::to_string(attempt) : "") + (hasExtension ? name.substr(dot) : "");
    shorten(stem, kLongestName - kEntryExtension.size() - end.size());
    return stem + end;
}

int renameExclusively(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // A file system that cannot promise it.
    if (isThere(to)) return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

std::optional<TrashFolder> TrashFolder::open(const std::string& path, uid_t user) {
    if (!makeOwnFolder(path, user) || !makeOwnFolder(path + "/files", user) ||
        !makeOwnFolder(path + "/info", user))
        return std::nullopt;
    return TrashFolder(path);
}

std::optional<TrashFolder::Place> TrashFolder::makePlace(const std::string& name,
                                                         std::string_view originalPath) const {
    for (int attempt = 1; attempt <= kMostAttempts; ++attempt) {
        const std::string candidate = nameInTrash(name, attempt);
        std::string information = path_ + "/info/" + candidate;
        information += kEntryExtension;
        const FileDescriptor file(::open(
            information.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file && errno == EEXIST) continue;
        if (!file) return std::nullopt;
        Place place(std::move(information), path_ + "/files/" + candidate);
        if (isThere(place.item())) continue;  // it lost its entry; the name is taken all the same
        const std::string entry = trashInformation(originalPath, std::time(nullptr));
        if (writeAll(file.get(), entry) != 0 || ::fsync(file.get()) != 0) return std::nullopt;
        return place;
    }
    return std::nullopt;
}

TrashFolder::Place::Place(Place&& other) noexcept
    : information_(std::move(other.information_)), item_(std::move(other.item_)) {
    other.information_.clear();
}

TrashFolder::Place::~Place() {
    if (!information_.empty()) ::unlink(information_.c_str());
}

}  // namespace quillmore::platform
