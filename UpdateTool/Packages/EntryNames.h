// The names in an archive, looked at before anything is unpacked. The unpackers write what an
// archive says; that nothing can land outside the staging folder, or on top of something else in
// it, is decided here.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace quillmore::updatetool {

/// What an archive may have at its top: the one folder that is installed, or what it likes.
enum class TopLevel { oneFolder, anything };

class EntryNames {
public:
    explicit EntryNames(TopLevel topLevel) : topLevel_(topLevel) {}

    /// Bounds on what one archive may hold.
    static constexpr std::size_t kMaximumEntries = 50000;
    static constexpr std::uint64_t kMaximumTotalSize = std::uint64_t{4} << 30;
    static constexpr std::size_t kMaximumNameLength = 255;
    static constexpr std::size_t kMaximumDepth = 32;

    /// Takes one more entry or fails (EX_DATAERR): names that are empty, too long, too deep,
    /// absolute, with a backslash, control character, "." or ".." in them, or not ASCII (volumes
    /// differ in which of those are one name); names met before, capitals or not; entries whose
    /// folder was not met before them; a top-level item that is hidden or not allowed; too many or
    /// too large.
    void add(const std::string& path, bool isFolder, std::uint64_t size);

    /// The names at the top, one for `oneFolder`. Fails (EX_DATAERR) for an archive without
    /// entries.
    const std::set<std::string>& top() const;
    /// Fails (EX_DATAERR) when an archive of that size grows more than any honest one does.
    void requireHonestRatio(std::uint64_t archiveSize) const;

private:
    void requireParent(const std::string& path, bool isFolder) const;

    TopLevel topLevel_;
    std::set<std::string> folded_;
    std::set<std::string> folders_;
    std::set<std::string> top_;
    std::uint64_t totalSize_ = 0;
};

}  // namespace quillmore::updatetool
