#include "UpdateTool/Packages/CpioPayloads.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/EntryNames.h"
#include "UpdateTool/Packages/Inflater.h"

namespace quillmore::updatetool {

namespace {

constexpr std::string_view kOctalMark = "070707";
constexpr std::string_view kHexadecimalMark = "070701";
constexpr std::string_view kHexadecimalSumMark = "070702";
constexpr std::string_view kTrailer = "TRAILER!!!";
constexpr std::size_t kMarkSize = 6;
constexpr std::size_t kMaximumNameSize = 1024;
constexpr std::uint64_t kMaximumLinkSize = 1023;
constexpr std::size_t kBlockSize = 65536;

[[noreturn]] void failDamaged() {
    fail(EX_DATAERR, "the package's Payload is damaged");
}

std::uint64_t numberIn(std::string_view digits, int base) {
    std::uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (error != std::errc{} || end != digits.data() + digits.size()) failDamaged();
    return value;
}

struct Header {
    mode_t mode = 0;
    std::uint64_t links = 0;
    std::uint64_t nameSize = 0;
    std::uint64_t size = 0;
    std::size_t padding = 1;  ///< Name and contents end at multiples of this.
    std::size_t headerSize = 0;
};

/// Walks the archive; what it hands out comes from one pass over the packed bytes.
class CpioReader {
public:
    explicit CpioReader(const Bytes& payload) : inflater_(payload) {}

    /// False at the trailer. The rest of the entry before is skipped.
    bool next() {
        while (!block().empty()) continue;
        skip(paddingAfter(header_.size, header_.padding));
        header_ = readHeader();
        if (header_.nameSize < 1 || header_.nameSize > kMaximumNameSize) failDamaged();
        std::string name = take(header_.nameSize);
        skip(paddingAfter(header_.headerSize + header_.nameSize, header_.padding));
        // The name ends with its only NUL.
        if (name.find('\0') != name.size() - 1) failDamaged();
        name.pop_back();
        left_ = header_.size;
        path_ = std::move(name);
        return path_ != kTrailer;
    }

    const Header& header() const { return header_; }
    const std::string& path() const { return path_; }
    std::string block() {
        std::string bytes = take(std::min<std::uint64_t>(left_, kBlockSize));
        left_ -= bytes.size();
        return bytes;
    }

private:
    static std::size_t paddingAfter(std::uint64_t size, std::size_t unit) {
        return static_cast<std::size_t>((unit - size % unit) % unit);
    }
    std::string take(std::uint64_t size) {
        std::string bytes = inflater_.read(size);
        if (bytes.size() != size) failDamaged();
        return bytes;
    }
    void skip(std::uint64_t size) { take(size); }

    Header readHeader() {
        const std::string mark = inflater_.read(kMarkSize);
        if (mark == kOctalMark) {
            const std::string fields = take(70);
            const auto octal = [&](std::size_t at, std::size_t size) {
                return numberIn(std::string_view(fields).substr(at, size), 8);
            };
            return {static_cast<mode_t>(octal(12, 6)),
                    octal(30, 6),
                    octal(53, 6),
                    octal(59, 11),
                    1,
                    76};
        }
        if (mark != kHexadecimalMark && mark != kHexadecimalSumMark)
            fail(EX_DATAERR, "the package's Payload is not a cpio archive");
        const std::string fields = take(104);
        const auto field = [&](std::size_t index) {
            return numberIn(std::string_view(fields).substr(index * 8, 8), 16);
        };
        return {static_cast<mode_t>(field(1)), field(4), field(11), field(6), 4, 110};
    }

    Inflater inflater_;
    Header header_;
    std::string path_;
    std::uint64_t left_ = 0;
};

bool isHarmlessLink(const std::string& target) {
    if (target.empty() || target.front() == '/') return false;
    for (std::size_t start = 0; start <= target.size();) {
        const std::size_t end = std::min(target.find('/', start), target.size());
        const std::string_view component = std::string_view(target).substr(start, end - start);
        if (component.empty() || component == ".." || component.find('\0') != component.npos)
            return false;
        start = end + 1;
    }
    return true;
}

/// Reads the contents of a link's entry.
ArchiveEntry describe(CpioReader& reader, const std::string& path) {
    ArchiveEntry entry;
    entry.path = path;
    entry.size = reader.header().size;
    entry.executable = (reader.header().mode & S_IXUSR) != 0;
    const mode_t kind = reader.header().mode & S_IFMT;
    if (kind == S_IFDIR && entry.size == 0) {
        entry.kind = ArchiveEntry::Kind::folder;
        return entry;
    }
    if (kind == S_IFREG && reader.header().links <= 1) return entry;
    if (kind == S_IFLNK && entry.size <= kMaximumLinkSize) {
        entry.kind = ArchiveEntry::Kind::link;
        entry.linkTarget = reader.block();
        entry.size = 0;
        if (isHarmlessLink(entry.linkTarget)) return entry;
    }
    fail(EX_DATAERR, "the package's entry " + quoted(path) +
                         " is no folder, plain file or link inside the package");
}

/// The entries but the payload's own folder.
template <typename Visit>
void forEachEntry(const Bytes& payload, const Visit& visit) {
    CpioReader reader(payload);
    while (reader.next()) {
        std::string_view path = reader.path();
        while (path.starts_with("./")) path.remove_prefix(2);
        if (path == "." && S_ISDIR(reader.header().mode)) continue;
        visit(describe(reader, std::string(path)), reader);
    }
}

}  // namespace

std::string readPayload(const Bytes& payload, const TakeEntry& take) {
    EntryNames names(TopLevel::oneFolder);
    forEachEntry(payload, [&](const ArchiveEntry& entry, CpioReader&) {
        names.add(entry.path, entry.kind == ArchiveEntry::Kind::folder, entry.size);
        names.requireHonestRatio(payload.size());
    });
    std::string top = *names.top().begin();
    forEachEntry(payload, [&](const ArchiveEntry& entry, CpioReader& reader) {
        take(entry, [&reader] { return reader.block(); });
    });
    return top;
}

}  // namespace quillmore::updatetool
