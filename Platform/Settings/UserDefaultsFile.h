// The file of one domain of the user defaults: reading it, and putting changes into it.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "Platform/Values/Result.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

class FileManager;

/// New values by key; nothing takes the key out.
using DomainChanges = std::map<std::string, std::optional<Value>, std::less<>>;

/// A missing file is an empty domain (one below a file is missing too). Anything but a dictionary
/// is an error of `kFileErrorDomain`.
Result<Dictionary> readDomainFile(const FileManager& fileManager, const std::string& path);

/// True when the file itself is at fault. Want of descriptors, memory, permission or a working disk
/// says nothing about the file, which must then stay where it is.
bool blamesFile(const Error& error);

struct MergedDomain {
    Dictionary domain;
    /// Why the file that was there could not be used; it is now beside the new one as FILE.damaged,
    /// the next ones as FILE.damaged-2 to -8. After that the oldest copy makes room.
    std::optional<Error> damage;
};

/// Reads the file anew, puts the changes in and replaces it (mode 0600). Call under the domain's
/// lock. A symbolic link stays and the file it leads to is replaced. Changes that would make a file
/// which cannot be read again are refused; after an error the file is as it was.
Result<MergedDomain> mergeIntoDomainFile(const FileManager& fileManager, const std::string& path,
                                         const DomainChanges& changes);

}  // namespace quillmore::platform
