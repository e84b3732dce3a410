// The user's settings: a stack of domains. Search order: argument ("-KEY VALUE" on the command
// line), application (~/Library/Preferences/IDENTIFIER.plist), global (.GlobalPreferences.plist in
// the same folder), registration. Any thread may call; a lock guards the domains. Writes go to the
// application domain: under a lock file shared by all processes the file is read anew, the changed
// keys are put in, and the whole is renamed into place, so that two processes which save different
// keys both keep theirs and a kill leaves the old file or the new one.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Settings/UserDefaultsFile.h"
#include "Platform/Values/Error.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

class FileManager;
class Problems;

class UserDefaults {
public:
    /// `fileManager` and `problems` must outlive the object. `arguments` without the program's
    /// name. What is wrong with a file is reported when it is read, each fault once.
    UserDefaults(const FileManager& fileManager, std::string preferencesFolder,
                 std::string identifier, std::span<const std::string> arguments,
                 Problems& problems);

    /// Adds factory settings; a key registered again is replaced.
    void registerDefaults(const Dictionary& factorySettings);

    std::optional<Value> objectForKey(std::string_view key) const;
    /// The value when it is a string, the text of a number; nothing otherwise.
    std::optional<std::string> stringForKey(std::string_view key) const;
    /// False when absent.
    bool boolForKey(std::string_view key) const;
    std::optional<Array> arrayForKey(std::string_view key) const;

    /// A null value removes the key.
    void setObject(std::string_view key, Value value);
    void removeObject(std::string_view key);
    /// Writes what was set or removed and takes up what others have written; with nothing to write
    /// it only reads. Creates the preferences folder (mode 0700) when it is missing; the file's
    /// mode is 0600. On an error the changes stay pending. An unreadable or damaged file is kept
    /// aside as FILE.damaged before it is replaced.
    std::optional<Error> synchronize();

private:
    // The lock is held by the caller of these.
    std::string applicationFile() const;
    void readDomains() const;
    Dictionary readDomain(const std::string& file) const;
    std::optional<Error> savePending();
    void report(const std::string& file, const Error& error) const;

    const FileManager& fileManager_;
    std::string preferencesFolder_;
    std::string identifier_;
    Problems& problems_;
    mutable std::mutex mutex_;
    Dictionary argument_;
    mutable bool read_ = false;
    mutable Dictionary application_;
    mutable Dictionary global_;
    Dictionary registration_;
    DomainChanges pending_;
    mutable std::set<std::string> reported_;
};

}  // namespace quillmore::platform
