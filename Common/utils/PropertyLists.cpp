#include "Common/utils/PropertyLists.h"

#include <cerrno>

#include "Common/utils/Folders.h"
#include "Platform/Formats/PropertyList.h"
#include "Platform/Ports/Services.h"
#include "Platform/Values/Format.h"

namespace quillmore {

namespace {

bool saysThatNothingIsThere(const platform::Error& error) {
    return error.domain() == platform::kPosixErrorDomain &&
           (error.code() == ENOENT || error.code() == ENOTDIR);
}

}  // namespace

std::optional<platform::Dictionary> dictionaryWithContentsOfFile(const std::string& path,
                                                                 Damage damage) {
    auto list = platform::readPropertyList(__QMCurrentThreadFileManager(), path);
    std::string reason = "not a dictionary";
    if (!list) {
        if (saysThatNothingIsThere(list.error())) return std::nullopt;
        reason = list.error().localizedDescription();
    } else if (const auto* dictionary = list->dictionary()) {
        return *dictionary;
    }
    if (damage == Damage::isReported) {
        platform::services().problems->report(
            platform::format("Failed to read property list \"%@\" (%@)", path, reason));
    }
    return std::nullopt;
}

}  // namespace quillmore
