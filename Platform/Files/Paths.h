// Paths as texts; nothing here looks at the disk. Free functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmore::platform {

/// Joins two path parts with exactly one "/"; trailing ones are dropped.
std::string pathByAppending(std::string_view path, std::string_view component);
/// The text after the last "/" (trailing ones dropped), "/" for the root; the part before it, "/"
/// for an item of the root, empty when there is none.
std::string lastPathComponent(std::string_view path);
std::string pathByDeletingLastComponent(std::string_view path);
/// A name that cannot lead out of its folder: not empty, "." or "..", no "/" and no NUL in it.
bool isPlainName(std::string_view name);
/// A leading "~" or "~/" becomes the home folder; every other path is unchanged.
std::string expandTilde(std::string_view path, std::string_view homeFolder);
/// HOME when it is an absolute path, else the account's home folder; "/" when there is neither.
std::string homeFolderOfUser();

}  // namespace quillmore::platform
