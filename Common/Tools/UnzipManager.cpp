#include "Common/Tools/UnzipManager.h"

#include <minizip/unzip.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <memory>
#include <new>

#include "Common/Tools/ZipEndRecord.h"
#include "Platform/Files/Paths.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

constexpr std::size_t kCopyBufferSize = 8192;
constexpr std::size_t kNameBufferSize = 256;
constexpr mode_t kFolderMode = 0775;

bool isSeparator(char c) {
    return c == '/' || c == '\\';
}

/// Close-on-exec beside the mode "wb".
std::FILE* openForWriting(const std::string& path) {
    return std::fopen(path.c_str(), "wbe");
}

/// The library's word for it is not enough, whether it opened the archive or not.
bool saysNothingOfEntries(void* archive) {
    unz_global_info info{};
    return archive == nullptr ||
           (unzGetGlobalInfo(archive, &info) == UNZ_OK && info.number_entry == 0);
}

}  // namespace

UnzipManager::UnzipManager(const std::string& path)
    : uf(unzOpen(path.c_str())),
      outputPath(platform::format("%@/", platform::pathByDeletingLastComponent(path))),
      isEmpty_(saysNothingOfEntries(uf) && isArchiveWithoutEntries(path)) {}

UnzipManager::~UnzipManager() {
    // Deliberate: closes the current entry, never the archive.
    if (uf != nullptr) unzCloseCurrentFile(uf);
}

int UnzipManager::extractAll() {
    if (isEmpty_) return UNZ_OK;
    unz_global_info info{};
    if (const int result = unzGetGlobalInfo(uf, &info); result != UNZ_OK) return result;
    if (info.number_entry == 0) return UNZ_PARAMERROR;  // its end record is cut
    for (uLong index = 0; index < info.number_entry; ++index) {
        if (extractCurrentFile() != UNZ_OK) break;
        if (index + 1 < info.number_entry && unzGoToNextFile(uf) != UNZ_OK) break;
    }
    return UNZ_OK;
}

int UnzipManager::extractCurrentFile() {
    unz_file_info info{};
    // One byte more than the library is told of: it does not terminate a name that fills it.
    std::array<char, kNameBufferSize + 1> name{};
    int result =
        unzGetCurrentFileInfo(uf, &info, name.data(), kNameBufferSize, nullptr, 0, nullptr, 0);
    if (result != UNZ_OK) return result;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[kCopyBufferSize]);
    if (buffer == nullptr) return UNZ_INTERNALERROR;

    const char* lastPart = name.data();
    for (const char* at = name.data(); *at != '\0'; ++at)
        if (isSeparator(*at)) lastPart = at + 1;
    const std::string path = outputPath + name.data();
    if (*lastPart == '\0') {
        mymkdir(path.c_str());
        return UNZ_OK;
    }

    result = unzOpenCurrentFilePassword(uf, nullptr);
    if (result == UNZ_OK) {
        std::FILE* output = openForWriting(path);
        if (output == nullptr && lastPart != name.data()) {
            // Deliberate: the path with the file's own name, so that a folder takes its place.
            makedir(path.c_str());
            output = openForWriting(path);
        }
        if (output != nullptr) result = copyCurrentFileTo(output, buffer.get());
    }
    const int closed = unzCloseCurrentFile(uf);
    return result != UNZ_OK ? result : closed;
}

int UnzipManager::copyCurrentFileTo(std::FILE* output, char* buffer) {
    int result = UNZ_OK;
    for (;;) {
        const int count = unzReadCurrentFile(uf, buffer, kCopyBufferSize);
        if (count <= 0) {
            result = count;
            break;
        }
        if (std::fwrite(buffer, static_cast<std::size_t>(count), 1, output) != 1) {
            result = UNZ_ERRNO;
            break;
        }
    }
    // What the stream held back is written here, or not.
    const bool written = std::fclose(output) == 0;
    return result == UNZ_OK && !written ? UNZ_ERRNO : result;
}

int UnzipManager::mymkdir(const char* path) {
    return ::mkdir(path, kFolderMode);
}

int UnzipManager::makedir(const char* path) {
    std::string text(path);
    if (text.empty()) return 0;
    if (text.back() == '/') text.pop_back();
    if (mymkdir(text.c_str()) == 0) return 1;
    for (std::size_t end = 1; end <= text.size(); ++end) {
        if (end < text.size() && !isSeparator(text[end])) continue;
        if (mymkdir(text.substr(0, end).c_str()) != 0 && errno == ENOENT) return 0;
    }
    return 1;
}

}  // namespace quillmore
