// What copying and removing of folder trees share. Private to the file manager.
#pragma once

#include <string>
#include <string_view>

#include "Platform/Values/Result.h"

namespace quillmore::platform {

class FileManager;

/// The host path of an item without trailing slashes, which would follow a link. An error for a
/// path that names no item of a folder: an empty one (ENOENT), the root folder, one with a NUL, and
/// one that ends with "." or ".." (EINVAL).
Result<std::string> checkedHostPath(const FileManager& fileManager, std::string_view path);

/// The error number's error; its description also names the entry when it lies inside the tree.
Error errorInTree(int errorNumber, const std::string& innerPath);

}  // namespace quillmore::platform
