// Whole trees removed by descriptors. No link in a tree is followed and no other file system is
// entered; in each folder the program acts as whoever put things there.
#pragma once

#include "Platform/Linux/Administrator/Place.h"

namespace quillmore::platform::administrator {

/// How deep a tree may be: each level holds descriptors.
inline constexpr int kMostLevels = 200;

/// 0, also when there is nothing, or the first error number: the rest is removed all the same.
/// What root put into a user's folder goes with root's rights, when the user can at least enter it
/// and no link led there.
int removeTree(const Place& place);

}  // namespace quillmore::platform::administrator
