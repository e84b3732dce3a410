// Two directory entries change places in one step, so that there is no moment at which the
// installed item is missing or half there.
#pragma once

#include <string>

namespace quillmore::updatetool {

enum class Exchanged { done, notSupported, failed };

/// Both names must exist, on one volume. `failed` leaves the error number set.
Exchanged exchangeEntries(int leftFolder, const std::string& left, int rightFolder,
                          const std::string& right);

}  // namespace quillmore::updatetool
