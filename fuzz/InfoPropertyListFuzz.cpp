// Any bytes as an Info.plist, of which the helper reads the version, and as a tool with a banner.
#include <cstdint>
#include <string_view>

#include "UpdateTool/Commands/InstalledVersions.h"
#include "UpdateTool/Packages/InfoPropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillmore::updatetool;
    stringsOfInfo({reinterpret_cast<const char*>(data), size});
    versionOfTool(Bytes(data, data + size));
    return 0;
}
