#include "Platform/Formats/PropertyList.h"

#include "Platform/Files/FileManager.h"
#include "Platform/Formats/PropertyList+Formats.h"

namespace quillmore::platform {

Result<Value> parsePropertyList(std::string_view bytes) {
    if (bytes.empty()) return Error::file("the property list is empty");
    if (bytes.size() > kMaximumPropertyListBytes) {
        return Error::file("the property list is larger than " +
                           std::to_string(kMaximumPropertyListBytes) + " bytes");
    }
    if (bytes.starts_with("bplist")) return parseBinaryPropertyList(bytes);
    return parseXmlPropertyList(bytes);
}

Result<Value> readPropertyList(const FileManager& fileManager, const std::string& path) {
    const auto bytes = fileManager.contents(path, kMaximumPropertyListBytes);
    if (!bytes) return bytes.error();
    return parsePropertyList(*bytes);
}

}  // namespace quillmore::platform
