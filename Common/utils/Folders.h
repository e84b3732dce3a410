// Folder creation and the file manager of each thread.
#pragma once

#include <optional>
#include <string>

#include "Platform/Files/FileManager.h"

namespace quillmore {

/// The key under which a thread keeps its file manager.
inline constexpr const char* FileManagerThreadKey = "com.quillmore.launcher.FileManagerThreadKey";

/// The calling thread's own file manager, made on first use; never hand it to another thread.
platform::FileManager& __QMCurrentThreadFileManager();

/// Creates the folder with missing parents (0777 under the umask) unless something exists there.
/// Absent: assertion failure. Raises NSGenericException when it cannot be created.
void ensureFolderPathExists(const std::optional<std::string>& folderPath);

}  // namespace quillmore
