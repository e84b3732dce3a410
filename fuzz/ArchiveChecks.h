// What must be true of every entry that an archive reader of the helper hands out.
#pragma once

#include <cstdlib>
#include <set>
#include <string>

#include "UpdateTool/Ground/ArchiveEntries.h"

namespace quillmore::fuzz {

class ArchiveChecks {
public:
    void take(const updatetool::ArchiveEntry& entry, const updatetool::ReadBlock& read) {
        ++taken_;
        require(isPlain(entry.path) && names_.insert(entry.path).second);
        const std::size_t slash = entry.path.rfind('/');
        require(slash == std::string::npos || folders_.count(entry.path.substr(0, slash)) != 0);
        if (entry.kind == updatetool::ArchiveEntry::Kind::folder) folders_.insert(entry.path);
        if (entry.kind == updatetool::ArchiveEntry::Kind::link)
            require(entry.linkTarget.front() != '/' && !hasComponent(entry.linkTarget, ".."));
        if (entry.kind != updatetool::ArchiveEntry::Kind::file) return;
        std::uint64_t total = 0;
        for (std::string block = read(); !block.empty(); block = read()) total += block.size();
        require(total == entry.size);
    }
    int taken() const { return taken_; }

private:
    static void require(bool condition) {
        if (!condition) std::abort();
    }
    static bool hasComponent(const std::string& path, const std::string& component) {
        return ("/" + path + "/").find("/" + component + "/") != std::string::npos;
    }
    static bool isPlain(const std::string& path) {
        return !path.empty() && path.front() != '/' && path.back() != '/' && path.front() != '.' &&
               path.find('\\') == std::string::npos && path.find('\0') == std::string::npos &&
               !hasComponent(path, "..") && !hasComponent(path, ".") && !hasComponent(path, "");
    }

    std::set<std::string> names_, folders_;
    int taken_ = 0;
};

}  // namespace quillmore::fuzz
