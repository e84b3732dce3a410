// What the archive readers hand to whoever writes the entries, whatever the archive's format.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace quillmore::updatetool {

struct ArchiveEntry {
    enum class Kind { folder, file, link };
    std::string path;  ///< Relative and plain, as EntryNames has it.
    Kind kind = Kind::file;
    bool executable = false;
    std::uint64_t size = 0;
    std::string linkTarget;  ///< Relative, never upwards.
};
/// Bytes of the current file entry, a block a call, until the block is empty.
using ReadBlock = std::function<std::string()>;
/// Called for each entry in order, a folder before what is in it.
using TakeEntry = std::function<void(const ArchiveEntry&, const ReadBlock&)>;

}  // namespace quillmore::updatetool
