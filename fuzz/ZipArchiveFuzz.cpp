// Any bytes as a signed ZIP archive: refused, or entries that are plain, in order and within
// bounds.
#include <cstdint>
#include <cstdlib>
#include <set>
#include <string>

#include "UpdateTool/Ground/Failure.h"
#include "UpdateTool/Packages/ZipArchives.h"
#include "fuzz/ArchiveChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillmore::updatetool;
    if (size == 0) return 0;
    const TopLevel topLevel = (data[0] & 1) != 0 ? TopLevel::oneFolder : TopLevel::anything;
    quillmore::fuzz::ArchiveChecks checks;
    try {
        readZipArchive(
            Bytes(data + 1, data + size), topLevel,
            [&](const ArchiveEntry& entry, const ReadBlock& read) { checks.take(entry, read); });
    } catch (const Failure&) {
        if (checks.taken() > 0) std::abort();  // all of it is looked at before anything is unpacked
    }
    return 0;
}
