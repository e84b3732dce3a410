#include "UpdateTool/Packages/EntryNames.h"

#include <algorithm>

#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

/// Below this size no ratio is asked for: a small file of zeros is no attack.
constexpr std::uint64_t kAlwaysAllowedSize = std::uint64_t{64} << 20;
constexpr std::uint64_t kMaximumRatio = 200;

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    fail(EX_DATAERR, "the archive's entry " + quoted(path) + " " + why);
}

void requirePlain(const std::string& path) {
    if (path.empty()) refuse(path, "has no name");
    if (path.size() > EntryNames::kMaximumNameLength) refuse(path, "has too long a name");
    const auto isForbidden = [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code < 0x20 || code >= 0x7f || c == '\\';
    };
    if (std::any_of(path.begin(), path.end(), isForbidden))
        refuse(path, "has a forbidden character in its name");
    if (static_cast<std::size_t>(std::count(path.begin(), path.end(), '/')) >=
        EntryNames::kMaximumDepth)
        refuse(path, "lies too deep");
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string component = path.substr(start, end - start);
        if (component.empty() || component == "." || component == "..")
            refuse(path, "leads out of the archive's folder");
        start = end + 1;
    }
}

}  // namespace

void EntryNames::add(const std::string& path, bool isFolder, std::uint64_t size) {
    requirePlain(path);
    requireParent(path, isFolder);
    if (!folded_.insert(folded(path)).second) refuse(path, "is there twice");
    if (folded_.size() > kMaximumEntries) fail(EX_DATAERR, "the archive has too many entries");
    if (size > kMaximumTotalSize - totalSize_) fail(EX_DATAERR, "the archive holds too much");
    totalSize_ += size;
    if (path.find('/') == std::string::npos) top_.insert(path);
    if (isFolder) folders_.insert(path);
}

void EntryNames::requireParent(const std::string& path, bool isFolder) const {
    const std::size_t slash = path.rfind('/');
    if (slash != std::string::npos) {
        if (folders_.count(path.substr(0, slash)) == 0)
            refuse(path, "has no entry for its folder before it");
    } else if (path.front() == '.') {
        refuse(path, "is hidden");
    } else if (topLevel_ == TopLevel::oneFolder && (!isFolder || !top_.empty())) {
        refuse(path, "lies beside the one folder that an archive holds");
    }
}

void EntryNames::requireHonestRatio(std::uint64_t archiveSize) const {
    if (totalSize_ > kAlwaysAllowedSize && totalSize_ / kMaximumRatio > archiveSize)
        fail(EX_DATAERR, "the archive grows too much when it is unpacked");
}

const std::set<std::string>& EntryNames::top() const {
    if (top_.empty()) fail(EX_DATAERR, "the archive is empty");
    return top_;
}

}  // namespace quillmore::updatetool
