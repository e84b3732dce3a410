// Whole trees copied by descriptors. No link in a tree is followed and no other file system is
// entered.
#pragma once

#include "Platform/Linux/Administrator/Place.h"

namespace quillmore::platform::administrator {

/// 0 or an error number; EEXIST when there is something. The original is read with the rights of
/// the place and never with more. The copy grows under another name, closed to everybody but its
/// maker, and gets its own when it is whole and on disk. Owners (where root makes it), modes
/// without set-ID bits, and dates are the original's.
int copyTree(const Place& original, const Place& copy);
/// The piece of a copy that was killed. Never while one grows.
int removePiece(const Place& copy);

}  // namespace quillmore::platform::administrator
