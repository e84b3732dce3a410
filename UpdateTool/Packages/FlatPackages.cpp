#include "UpdateTool/Packages/FlatPackages.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <span>
#include <string_view>

#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/Inflater.h"
#include "UpdateTool/Packages/Xml.h"

namespace quillmore::updatetool {

namespace {

constexpr std::uint64_t kXarMark = 0x78617221;  // "xar!"
constexpr std::size_t kSmallestHeaderSize = 28;
constexpr std::uint64_t kMaximumTableSize = 8 << 20;
constexpr std::uint64_t kMaximumInfoSize = 1 << 20;
constexpr std::uint64_t kMaximumPayloadSize = std::uint64_t{1} << 30;

using Range = std::span<const std::uint8_t>;

[[noreturn]] void failDamaged() {
    fail(EX_DATAERR, "the package is damaged");
}

std::uint64_t bigEndian(Range bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) value = value << 8 | byte;
    return value;
}

Range subrange(Range bytes, std::uint64_t offset, std::uint64_t size) {
    if (offset > bytes.size() || size > bytes.size() - offset) failDamaged();
    return bytes.subspan(offset, size);
}

/// Exactly `size` bytes, no fewer and no more.
std::string inflated(Range packed, std::uint64_t size, std::uint64_t maximum) {
    if (size > maximum) fail(EX_DATAERR, "the package holds too much");
    Inflater inflater(packed);
    std::string bytes = inflater.read(size);
    if (bytes.size() != size || !inflater.read(1).empty()) failDamaged();
    return bytes;
}

struct Xar {
    XmlElement table;
    Range heap;
};

Xar openXar(Range package) {
    if (package.size() < kSmallestHeaderSize || bigEndian(package.first(4)) != kXarMark)
        fail(EX_DATAERR, "the file is not an installer package");
    const std::uint64_t header = bigEndian(package.subspan(4, 2));
    const std::uint64_t packedSize = bigEndian(package.subspan(8, 8));
    const std::uint64_t tableSize = bigEndian(package.subspan(16, 8));
    if (header < kSmallestHeaderSize) failDamaged();
    const Range packed = subrange(package, header, packedSize);
    auto document = parseXml(inflated(packed, tableSize, kMaximumTableSize));
    const XmlElement* table = document ? document->child("toc") : nullptr;
    if (table == nullptr) failDamaged();
    return {*table, package.subspan(header + packedSize)};
}

std::uint64_t numberIn(const XmlElement& data, std::string_view name) {
    const std::string text = data.textOf(name);
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) failDamaged();
    return value;
}

std::string contentsOf(const Xar& xar, const XmlElement& file, std::uint64_t maximum) {
    const XmlElement* data = file.child("data");
    if (data == nullptr) failDamaged();
    const std::uint64_t size = numberIn(*data, "size");
    const Range stored = subrange(xar.heap, numberIn(*data, "offset"), numberIn(*data, "length"));
    const XmlElement* encoding = data->child("encoding");
    const std::string style = encoding == nullptr ? "" : encoding->attribute("style");
    if (style == "application/x-gzip") return inflated(stored, size, maximum);
    if (!style.empty() && style != "application/octet-stream")
        fail(EX_DATAERR, "the package is compressed in a way that is not known here");
    if (size > maximum) fail(EX_DATAERR, "the package holds too much");
    if (size != stored.size()) failDamaged();
    return std::string(stored.begin(), stored.end());
}

/// Null when there is none; fails for two, of which other readers might take the other one.
const XmlElement* fileNamed(const XmlElement& table, std::string_view name) {
    const XmlElement* found = nullptr;
    for (const XmlElement& each : table.children) {
        if (each.name != "file" || each.textOf("name") != name || each.textOf("type") != "file")
            continue;
        if (found != nullptr) fail(EX_DATAERR, "the package has two entries of one name");
        found = &each;
    }
    return found;
}

std::string installLocationIn(const std::string& information) {
    const auto document = parseXml(information);
    if (!document || document->name != "pkg-info")
        fail(EX_DATAERR, "the package's PackageInfo cannot be read");
    return document->attribute("install-location");
}

}  // namespace

FlatPackage readFlatPackage(const Bytes& package) {
    const Xar xar = openXar(package);
    const XmlElement* information = fileNamed(xar.table, "PackageInfo");
    const XmlElement* payload = fileNamed(xar.table, "Payload");
    if (information == nullptr || payload == nullptr)
        fail(EX_DATAERR, "the package has no PackageInfo or no Payload");
    const std::string bytes = contentsOf(xar, *payload, kMaximumPayloadSize);
    return {installLocationIn(contentsOf(xar, *information, kMaximumInfoSize)),
            Bytes(bytes.begin(), bytes.end())};
}

}  // namespace quillmore::updatetool
