#include "UpdateTool/Packages/ZipArchives.h"

#include <minizip/unzip.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

constexpr uLong kEncryptedFlag = 1;
constexpr uLong kStored = 0;
constexpr uLong kDeflated = 8;
constexpr std::size_t kBlockSize = 65536;

/// The archive's bytes as the library's idea of a file: no path, no descriptor.
struct MemoryFile {
    const Bytes& bytes;
    std::uint64_t position = 0;
};

void* openMemory(void* file, const void*, int) {
    return file;
}
uLong readMemory(void*, void* stream, void* buffer, uLong size) {
    auto& file = *static_cast<MemoryFile*>(stream);
    const auto count = std::min<std::uint64_t>(size, file.bytes.size() - file.position);
    if (count > 0) std::memcpy(buffer, file.bytes.data() + file.position, count);
    file.position += count;
    return static_cast<uLong>(count);
}
uLong writeNothing(void*, void*, const void*, uLong) {
    return 0;
}
ZPOS64_T tellMemory(void*, void* stream) {
    return static_cast<MemoryFile*>(stream)->position;
}
long seekMemory(void*, void* stream, ZPOS64_T offset, int origin) {
    auto& file = *static_cast<MemoryFile*>(stream);
    std::uint64_t start = 0;
    if (origin == ZLIB_FILEFUNC_SEEK_CUR) start = file.position;
    if (origin == ZLIB_FILEFUNC_SEEK_END) start = file.bytes.size();
    if (offset > file.bytes.size() - start) return -1;
    file.position = start + offset;
    return 0;
}
int closeMemory(void*, void*) {
    return 0;
}
int errorOfMemory(void*, void*) {
    return 0;
}

struct CloseArchive {
    void operator()(void* archive) const { unzClose(archive); }
};
using Archive = std::unique_ptr<void, CloseArchive>;

/// `file` must outlive the archive.
Archive openArchive(MemoryFile& file) {
    zlib_filefunc64_def functions{openMemory, readMemory,  writeNothing,  tellMemory,
                                  seekMemory, closeMemory, errorOfMemory, &file};
    Archive archive(unzOpen2_64("", &functions));
    if (archive == nullptr) fail(EX_DATAERR, "the file is not a ZIP archive");
    return archive;
}

struct Entry {
    ArchiveEntry entry;
    unz_file_info64 info{};
    mode_t mode() const { return static_cast<mode_t>(info.external_fa >> 16); }
};

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
    fail(EX_DATAERR, "the archive's entry " + quoted(path) + " " + why);
}

Entry currentEntry(void* archive) {
    Entry current;
    std::array<char, EntryNames::kMaximumNameLength + 2> name{};
    if (unzGetCurrentFileInfo64(archive, &current.info, name.data(), name.size() - 1, nullptr, 0,
                                nullptr, 0) != UNZ_OK)
        fail(EX_DATAERR, "the archive's directory is damaged");
    ArchiveEntry& entry = current.entry;
    entry.path = name.data();
    // A longer name would be cut and one with a NUL inside would end there: neither is what it
    // says.
    if (entry.path.size() != current.info.size_filename) refuse(entry.path, "has an invalid name");
    if (entry.path.size() > 1 && entry.path.back() == '/') {
        entry.kind = ArchiveEntry::Kind::folder;
        entry.path.pop_back();
    }
    entry.executable = (current.mode() & S_IXUSR) != 0;
    entry.size = current.info.uncompressed_size;
    return current;
}

void requirePlainKind(const Entry& current) {
    const std::string& path = current.entry.path;
    const bool isFolder = current.entry.kind == ArchiveEntry::Kind::folder;
    const mode_t kind = current.mode() & S_IFMT;
    if (kind != 0 && kind != (isFolder ? S_IFDIR : S_IFREG))
        refuse(path, "is neither a folder nor a plain file");
    if ((current.info.flag & kEncryptedFlag) != 0) refuse(path, "is encrypted");
    const uLong method = current.info.compression_method;
    if (method != kStored && method != kDeflated)
        refuse(path, "is compressed in a way that is not known here");
    if (isFolder && current.entry.size != 0) refuse(path, "has contents of its own");
}

/// The current entry's bytes. Its checksum is compared when it is read to its end.
class EntryReader {
public:
    EntryReader(void* archive, const ArchiveEntry& entry) : archive_(archive), entry_(entry) {
        if (unzOpenCurrentFile(archive_) != UNZ_OK) refuse(entry_.path, "is damaged");
    }
    ~EntryReader() {
        if (!ended_) unzCloseCurrentFile(archive_);
    }
    EntryReader(const EntryReader&) = delete;
    EntryReader& operator=(const EntryReader&) = delete;

    std::string block() {
        if (ended_) return "";
        std::string bytes(kBlockSize, '\0');
        const int count = unzReadCurrentFile(archive_, bytes.data(), kBlockSize);
        if (count > 0) total_ += static_cast<std::uint64_t>(count);
        if (count < 0 || total_ > entry_.size) refuse(entry_.path, "is damaged");
        if (count == 0) {
            ended_ = true;
            if (unzCloseCurrentFile(archive_) != UNZ_OK || total_ != entry_.size)
                refuse(entry_.path, "is damaged");
        }
        bytes.resize(static_cast<std::size_t>(count));
        return bytes;
    }

private:
    void* archive_;
    const ArchiveEntry& entry_;
    std::uint64_t total_ = 0;
    bool ended_ = false;
};

template <typename Visit>
void forEachEntry(void* archive, const Visit& visit) {
    unz_global_info64 global{};
    if (unzGetGlobalInfo64(archive, &global) != UNZ_OK)
        fail(EX_DATAERR, "the archive's directory is damaged");
    if (global.number_entry > EntryNames::kMaximumEntries)
        fail(EX_DATAERR, "the archive has too many entries");
    int result = unzGoToFirstFile(archive);
    for (ZPOS64_T index = 0; index < global.number_entry; ++index) {
        if (result != UNZ_OK) fail(EX_DATAERR, "the archive's directory is damaged");
        visit(currentEntry(archive));
        result = unzGoToNextFile(archive);
    }
    if (global.number_entry > 0 && result != UNZ_END_OF_LIST_OF_FILE)
        fail(EX_DATAERR, "the archive's directory is damaged");
}

}  // namespace

std::set<std::string> readZipArchive(const Bytes& bytes, TopLevel topLevel, const TakeEntry& take) {
    MemoryFile file{bytes};
    const Archive archive = openArchive(file);
    EntryNames names(topLevel);
    forEachEntry(archive.get(), [&](const Entry& current) {
        requirePlainKind(current);
        names.add(current.entry.path, current.entry.kind == ArchiveEntry::Kind::folder,
                  current.entry.size);
    });
    std::set<std::string> top = names.top();
    names.requireHonestRatio(bytes.size());
    forEachEntry(archive.get(), [&](const Entry& current) {
        if (current.entry.kind == ArchiveEntry::Kind::folder) return;
        EntryReader reader(archive.get(), current.entry);
        while (!reader.block().empty()) continue;
    });
    forEachEntry(archive.get(), [&](const Entry& current) {
        if (current.entry.kind == ArchiveEntry::Kind::folder)
            return take(current.entry, [] { return std::string(); });
        EntryReader reader(archive.get(), current.entry);
        take(current.entry, [&reader] { return reader.block(); });
    });
    return top;
}

}  // namespace quillmore::updatetool
