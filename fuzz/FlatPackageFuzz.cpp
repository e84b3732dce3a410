// Any bytes as a signed installer package, as its payload, and as what the payload unpacks to.
#include <zlib.h>

#include <cstdint>
#include <cstdlib>

#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/CpioPayloads.h"
#include "UpdateTool/Packages/FlatPackages.h"
#include "fuzz/ArchiveChecks.h"

namespace {

using namespace quillmore::updatetool;

Bytes packed(const Bytes& bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    Bytes result(size);
    if (compress(result.data(), &size, bytes.data(), static_cast<uLong>(bytes.size())) != Z_OK)
        std::abort();
    result.resize(size);
    return result;
}

void readAsPayload(const Bytes& payload) {
    quillmore::fuzz::ArchiveChecks checks;
    try {
        readPayload(payload, [&](const ArchiveEntry& entry, const ReadBlock& read) {
            checks.take(entry, read);
        });
    } catch (const Failure&) {
        if (checks.taken() > 0) std::abort();
    }
}

/// A package around a table of contents, which alone would hardly ever be met.
Bytes packageAround(const Bytes& table) {
    const Bytes body = packed(table);
    Bytes package = {'x', 'a', 'r', '!', 0, 28, 0, 1};
    for (const std::uint64_t number : {std::uint64_t{body.size()}, std::uint64_t{table.size()}})
        for (int shift = 56; shift >= 0; shift -= 8)
            package.push_back(static_cast<std::uint8_t>(number >> shift));
    package.insert(package.end(), 4, 0);
    package.insert(package.end(), body.begin(), body.end());
    package.insert(package.end(), 64, 'x');
    return package;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Bytes bytes(data + 1, data + size);
    if (data[0] % 4 == 1) readAsPayload(bytes);
    if (data[0] % 4 == 2) readAsPayload(packed(bytes));
    if (data[0] % 4 != 0 && data[0] % 4 != 3) return 0;
    try {
        readAsPayload(readFlatPackage(data[0] % 4 == 0 ? bytes : packageAround(bytes)).payload);
    } catch (const Failure&) {
    }
    return 0;
}
