#include "Common/utils/Folders.h"

#include <atomic>
#include <map>
#include <memory>
#include <string_view>

#include "Common/utils/Errors.h"
#include "Common/utils/Logging.h"
#include "Platform/Ports/Services.h"
#include "Platform/Threads/SharedInstance.h"

namespace quillmore {

namespace {

/// A number that is new whenever the shared instances were forgotten: then the services may be
/// others, even at the same address.
struct Generation {
    static inline std::atomic<std::uint64_t> last = 0;
    std::uint64_t number = ++last;
};
platform::SharedInstance<Generation> currentGeneration;

struct ThreadFileManager {
    std::unique_ptr<platform::FileManager> fileManager;
    const platform::Services* madeBy = nullptr;
    std::uint64_t generation = 0;
};

/// What belongs to the calling thread and goes with it.
ThreadFileManager& threadEntry() {
    thread_local std::map<std::string, ThreadFileManager, std::less<>> threadDictionary;
    const auto found = threadDictionary.find(std::string_view(FileManagerThreadKey));
    return found != threadDictionary.end() ? found->second : threadDictionary[FileManagerThreadKey];
}

std::unique_ptr<platform::FileManager> newFileManager(const platform::Services* services) {
    if (services != nullptr && services->makeFileManager) return services->makeFileManager();
    return std::make_unique<platform::FileManager>();
}

}  // namespace

platform::FileManager& __QMCurrentThreadFileManager() {
    const platform::Services* services = platform::haveServices() ? &platform::services() : nullptr;
    const std::uint64_t generation = currentGeneration.get().number;
    ThreadFileManager& entry = threadEntry();
    if (entry.fileManager == nullptr || entry.madeBy != services ||
        entry.generation != generation) {
        entry = {newFileManager(services), services, generation};
    }
    return *entry.fileManager;
}

void ensureFolderPathExists(const std::optional<std::string>& folderPath) {
    QMAssert2(folderPath.has_value(), "folderPath", __FILE__, __LINE__);
    const platform::FileManager& fileManager = __QMCurrentThreadFileManager();
    // A plain file of that name counts as existing; whoever writes into it will say so.
    if (fileManager.fileExists(*folderPath)) return;
    if (const auto error = fileManager.createDirectory(*folderPath, 0777)) {
        throw platform::Exception(platform::kGenericException,
                                  platform::format("Failed to create \"%@\" (%@)", *folderPath,
                                                   error->localizedDescription()));
    }
    logVerbose("\"%@\" subfolder missing - created it", *folderPath);
}

}  // namespace quillmore
