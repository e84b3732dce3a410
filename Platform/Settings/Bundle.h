// A bundle folder: its Info.plist, its resources and their localisations.
// The information dictionary and the string tables are read on first use under a lock and kept, so
// a bundle may be asked from any thread. What is wrong with a file is reported when it is read.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Formats/StringTable.h"
#include "Platform/Values/Error.h"
#include "Platform/Values/Value.h"

namespace quillmore::platform {

class FileManager;
class Problems;

class Bundle {
public:
    /// `fileManager` and `problems` must outlive the bundle. `preferredLanguages`: most wanted
    /// first ("de-AT", "en"). Each fault of a file is reported once.
    Bundle(const FileManager& fileManager, std::string path,
           std::vector<std::string> preferredLanguages, Problems& problems);

    const std::string& bundlePath() const { return path_; }
    /// PATH/Contents/Resources.
    std::string resourcePath() const;
    /// PATH/Contents/PlugIns.
    std::string plugInsPath() const;
    /// PATH/Contents/Helpers.
    std::string helpersPath() const;
    /// PATH/Contents/SharedSupport/bin: programs for shell lines, which a system may lack.
    std::string programsPath() const;

    /// The Info.plist; null when it is missing or unreadable.
    const Dictionary* infoDictionary() const;
    std::optional<std::string> bundleIdentifier() const;

    /// Path of a resource "NAME.TYPE" (of "NAME" when the type is empty): not localised first, then
    /// in each localisation in order of preference, then the development region's. Nothing when
    /// there is none.
    std::optional<std::string> pathForResource(std::string_view name, std::string_view type) const;

    /// The text in the table ("Localizable" when the name is empty) of the first preferred
    /// localisation that has such a table; the key itself when that table has no entry. A damaged
    /// table counts as missing.
    std::string localizedString(std::string_view key, std::string_view table = {}) const;
    /// Why the folder of the resources cannot be listed, so that every text is its key; it is tried
    /// again with each question. A missing folder is none.
    std::optional<Error> resourcesFault() const;
    /// Localisations to look in, best first: the user's languages that the bundle has ("de-AT"
    /// falls back to "de"), then "CFBundleDevelopmentRegion" ("en" when absent), then "Base". Each
    /// is the name of a ".lproj" folder that is there ("German" may be the one for "de").
    std::vector<std::string> preferredLocalizations() const;

private:
    // The lock is held by the caller of these.
    const Dictionary* info() const;
    const StringTable& table(std::string_view name) const;
    const std::vector<std::string>& localizations() const;
    std::vector<std::string> availableLocalizations() const;
    void report(const std::string& file, const Error& error) const;

    std::string localizationPath(std::string_view localization) const;

    const FileManager& fileManager_;
    std::string path_;
    std::vector<std::string> preferredLanguages_;
    Problems& problems_;
    mutable std::mutex mutex_;
    mutable bool infoRead_ = false;
    mutable std::optional<Dictionary> info_;
    mutable std::optional<std::vector<std::string>> localizations_;
    mutable std::optional<Error> resourcesFault_;
    mutable std::set<std::string> reported_;
    mutable std::map<std::string, StringTable, std::less<>> tables_;
};

/// The ".app" folder that holds an executable at CONTAINER.app/Contents/MacOS/NAME; nothing when
/// the executable does not lie in a bundle.
std::optional<std::string> bundlePathOfExecutable(std::string_view executablePath);

}  // namespace quillmore::platform
