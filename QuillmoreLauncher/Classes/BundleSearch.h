// Looks for installed application bundles by their identifier.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmore {

/// Deeper folders, and folders beyond that many, are not looked into: no place that people keep
/// applications in comes near, a tree of links into the rest of the disk does.
inline constexpr int kMaximumSearchDepth = 64;
inline constexpr int kMaximumSearchedFolders = 100'000;
/// Ways to one and the same folder: links that point at each other make a great many.
inline constexpr int kMaximumVisits = 8;

/// Paths of the bundles below a folder, in the order of the listings. Links to folders count as
/// folders; a folder met again on the way down is not entered again. Nothing that it reads is
/// complained about.
std::vector<std::string> bundlesWithIdentifier(const std::string& identifier,
                                               const std::string& folder);

/// True when the first ".app" of the name, in any case, ends it: "x.app.old" and "a.app.app" are no
/// bundles.
bool isApplicationBundleName(std::string_view name);

}  // namespace quillmore
