// The user's settings: a stack of domains. Search order: argument ("-KEY VALUE" on the command
// line), application (~/Library/Preferences/IDENTIFIER.plist), global (.GlobalPreferences.plist in
// the same folder), registration. Any thread may call; a lock guards the domains. Writes go to the
// application domain: under a lock file shared by all processes the file is read anew, the changed
// keys are put in, and the whole is renamed into place, so that two processes which save different
// keys both keep theirs and a kill leaves the old file or the new one. A file that could not be
// read (no descriptors, a bad disk, no permission) is never taken for an empty one: it is read
// again at the next question, and nothing that rests on the missing answer is saved.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
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

    /// What is to take the place of the value (nothing: none); the value itself for no change.
    using Edit = std::function<std::optional<Value>(const std::optional<Value>& current)>;
    /// Sets what the edit makes of the value. While that cannot be read the edit waits, unseen, and
    /// is done with what is read later. Called under the lock: must not call back.
    void editObject(std::string_view key, Edit edit);
    /// The last question for the key found the file unreadable: what was answered says nothing.
    bool wasAskedInVain(std::string_view key) const;

    /// Writes what was set or removed and takes up what others have written; with nothing to write
    /// it only reads. Creates the preferences folder (mode 0700) when it is missing; the file's
    /// mode is 0600. On an error the changes stay pending. A key that was asked for in vain and set
    /// afterwards is not saved before it was asked for again and set anew: until then every call
    /// fails with the error of the reading. A damaged file is kept aside as FILE.damaged before it
    /// is replaced.
    std::optional<Error> synchronize();

private:
    struct Domain {
        bool isRead = false;                ///< Not to be read before the next synchronisation.
        std::optional<Dictionary> content;  ///< As last read; nothing before that succeeded.
        std::optional<Error> fault;         ///< Why the last reading failed.
    };
    // The lock is held by the caller of these.
    std::string applicationFile() const;
    void readDomains() const;
    void readDomain(const std::string& file, Domain& domain) const;
    std::optional<Value> lookUp(std::string_view key) const;
    const Value* applicationValue(std::string_view key) const;
    void change(std::string_view key, std::optional<Value> value) const;
    void makeWaitingEdits() const;
    std::optional<Error> savePending();
    void report(const std::string& file, const Error& error) const;

    const FileManager& fileManager_;
    std::string preferencesFolder_;
    std::string identifier_;
    Problems& problems_;
    mutable std::mutex mutex_;
    Dictionary argument_;
    mutable Domain application_;
    mutable Domain global_;
    Dictionary registration_;
    mutable DomainChanges pending_;
    mutable std::vector<std::pair<std::string, Edit>> waiting_;
    using ErrorsByKey = std::map<std::string, Error, std::less<>>;
    mutable ErrorsByKey askedInVain_;
    mutable ErrorsByKey resting_;  ///< Pending keys whose values rest on a failed reading.
    mutable std::set<std::string> reported_;
};

}  // namespace quillmore::platform
