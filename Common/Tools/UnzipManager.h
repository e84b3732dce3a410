// Unpacks a whole ZIP archive into the folder that holds it. It writes what the archive says, with
// no filtering of names: whoever unpacks an archive of unknown origin looks at its names first.
// One thread at a time: the archive has one current entry.
#pragma once

#include <cstdio>
#include <string>

namespace quillmore {

class UnzipManager {
public:
    /// `initWithPath:` An archive that cannot be opened is noticed by `extractAll` only.
    explicit UnzipManager(const std::string& path);
    ~UnzipManager();
    UnzipManager(const UnzipManager&) = delete;
    UnzipManager& operator=(const UnzipManager&) = delete;

    /// 0, or the library's code when the archive cannot be read at all (-102: it is not open).
    /// Deliberate: a failing entry ends the extraction, and the result is 0 all the same.
    int extractAll();

protected:
    // What becomes of one entry, which `extractAll` keeps to itself.
    /// 0; -1 for a write that fails, -104 without memory for the buffer, else the library's code.
    int extractCurrentFile();
    /// The system's result.
    int mymkdir(const char* path);
    /// 1 when the path could be made, else 0.
    int makedir(const char* path);

private:
    /// Streams the open entry into the file and closes the file.
    int copyCurrentFileTo(std::FILE* output, char* buffer);

    void* uf;  ///< The library's handle; null when the archive could not be opened.
    std::string outputPath;
    bool isEmpty_;  ///< Open or not: an archive without entries.
};

}  // namespace quillmore
