#include "QuillmoreLauncher/Classes/BundleSearch.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <utility>

#include "Common/utils/Folders.h"
#include "Common/utils/Logging.h"
#include "Common/utils/PropertyLists.h"
#include "Platform/Files/Paths.h"
#include "Platform/Values/Text.h"

namespace quillmore {

namespace {

constexpr std::string_view kExtension = ".app";

bool equalIgnoringCase(char a, char b) {
    return platform::lowerCase(a) == platform::lowerCase(b);
}

class Search {
public:
    explicit Search(const std::string& identifier) : identifier_(identifier) {}

    void lookInto(const std::string& folder) {
        const auto identity = files_.identity(folder);
        if (!identity ||
            std::find(foldersAbove_.begin(), foldersAbove_.end(), *identity) != foldersAbove_.end())
            return;
        if (foldersAbove_.size() == kMaximumSearchDepth || searched_ == kMaximumSearchedFolders ||
            visits_[*identity] == kMaximumVisits) {
            logCut(folder);
            return;
        }
        ++searched_;
        ++visits_[*identity];
        const auto names = files_.contentsOfDirectory(folder);
        if (!names) return;
        foldersAbove_.push_back(*identity);
        for (const std::string& name : *names)
            lookAt(name, platform::pathByAppending(folder, name));
        foldersAbove_.pop_back();
    }

    std::vector<std::string> found;

private:
    void lookAt(const std::string& name, const std::string& path) {
        if (!isApplicationBundleName(name)) {
            if (files_.isDirectory(path)) lookInto(path);
            return;
        }
        const auto information = dictionaryWithContentsOfFile(
            platform::pathByAppending(path, "Contents/Info.plist"), Damage::isIgnored);
        if (information &&
            platform::stringForKey(*information, "CFBundleIdentifier") == identifier_)
            found.push_back(path);
    }

    void logCut(const std::string& folder) {
        if (!std::exchange(cut_, true))
            logVerbose("Not looking for applications in \"%@\" and elsewhere - too many folders",
                       folder);
    }

    platform::FileManager& files_ = __QMCurrentThreadFileManager();
    const std::string& identifier_;
    using Identity = std::pair<std::uint64_t, std::uint64_t>;
    std::vector<Identity> foldersAbove_;  ///< From the top down to this one.
    std::map<Identity, int> visits_;
    int searched_ = 0;
    bool cut_ = false;
};

}  // namespace

bool isApplicationBundleName(std::string_view name) {
    const auto first = std::search(name.begin(), name.end(), kExtension.begin(), kExtension.end(),
                                   equalIgnoringCase);
    return first != name.end() && static_cast<std::size_t>(name.end() - first) == kExtension.size();
}

std::vector<std::string> bundlesWithIdentifier(const std::string& identifier,
                                               const std::string& folder) {
    Search search(identifier);
    search.lookInto(folder);
    return std::move(search.found);
}

}  // namespace quillmore
