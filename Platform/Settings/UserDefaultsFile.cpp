#include "Platform/Settings/UserDefaultsFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "Platform/Files/FileManager.h"
#include "Platform/Formats/PropertyList.h"

namespace quillmore::platform {

namespace {

constexpr mode_t kFileMode = 0600;
constexpr int kMaximumLinks = 32;
constexpr int kMostDamagedCopies = 8;

/// Where the links at the end of a path lead, whether or not a file is there yet.
Result<std::string> pathBehindLinks(std::filesystem::path path) {
    for (int links = 0; links <= kMaximumLinks; ++links) {
        std::error_code error;
        const std::filesystem::path target = std::filesystem::read_symlink(path, error);
        if (error) return path.string();
        path = path.parent_path() / target;  // an absolute target takes the place of the whole
    }
    return Error::posix(ELOOP);
}

/// The first free name for a copy. When all are taken the oldest copy goes.
Result<std::string> nameAside(const FileManager& host, const std::string& file) {
    std::string oldest;
    time_t oldestTime = 0;
    for (int number = 1; number <= kMostDamagedCopies; ++number) {
        const std::string name =
            file + ".damaged" + (number == 1 ? "" : "-" + std::to_string(number));
        struct stat status = {};
        if (::lstat(name.c_str(), &status) != 0) {
            if (errno == ENOENT) return name;
            return Error::posix(errno);
        }
        if (oldest.empty() || status.st_ctime < oldestTime) {
            oldest = name;
            oldestTime = status.st_ctime;
        }
    }
    if (const auto error = host.removeItem(oldest)) return *error;
    return oldest;
}

/// The new text takes the place of a file that is kept aside; after an error nothing has changed.
std::optional<Error> replaceDamaged(const FileManager& host, const std::string& file,
                                    const std::string& text) {
    const Result<std::string> aside = nameAside(host, file);
    if (!aside) return aside.error();
    if (std::rename(file.c_str(), aside->c_str()) != 0) return Error::posix(errno);
    const auto error = host.writeAtomically(file, text, kFileMode);
    if (error) std::rename(aside->c_str(), file.c_str());
    return error;
}

void apply(const DomainChanges& changes, Dictionary& domain) {
    for (const auto& [key, value] : changes) {
        if (value) {
            domain.insert_or_assign(key, *value);
        } else {
            domain.erase(key);
        }
    }
}

}  // namespace

bool blamesFile(const Error& error) {
    return error.domain() == kFileErrorDomain;
}

Result<Dictionary> readDomainFile(const FileManager& fileManager, const std::string& path) {
    Result<Value> list = readPropertyList(fileManager, path);
    if (!list) {
        const Error& error = list.error();
        const bool isMissing = error.domain() == kPosixErrorDomain &&
                               (error.code() == ENOENT || error.code() == ENOTDIR);
        if (isMissing) return Dictionary();
        return error;
    }
    if (list->dictionary() == nullptr) return Error::file("is not a dictionary");
    return *list->dictionary();
}

Result<MergedDomain> mergeIntoDomainFile(const FileManager& fileManager, const std::string& path,
                                         const DomainChanges& changes) {
    const Result<std::string> file = pathBehindLinks(fileManager.hostPath(path));
    if (!file) return file.error();
    const FileManager host;  // the path behind a link is the kernel's already

    MergedDomain merged;
    const Result<Dictionary> current = readDomainFile(host, *file);
    if (current) {
        merged.domain = *current;
    } else if (blamesFile(current.error())) {
        merged.damage = current.error();
    } else {
        return current.error();
    }
    apply(changes, merged.domain);
    if (current && merged.domain == *current) return merged;

    const std::string text = writePropertyList(merged.domain);
    if (const Result<Value> readBack = parsePropertyList(text); !readBack) return readBack.error();
    if (text.size() > kMaximumPropertyListBytes)
        return Error::file("is larger than " + std::to_string(kMaximumPropertyListBytes) +
                           " bytes");
    const auto error = merged.damage ? replaceDamaged(host, *file, text)
                                     : host.writeAtomically(*file, text, kFileMode);
    if (error) return *error;
    return merged;
}

}  // namespace quillmore::platform
