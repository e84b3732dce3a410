// What the installation check knows: the catalogue, and the outcome of the last status update.
// Belongs to InstallCheckManager, which says when which thread may read it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Values/Value.h"
#include "QuillmoreLauncher/Classes/RequiredItem.h"

namespace quillmore {

struct InstallCheckState {
    /// The whole catalogue file; absent when it is missing or unreadable.
    std::optional<platform::Dictionary> requiredItems;
    std::vector<RequiredItem> requiredItemsList;
    /// One localised status word an item; empty before the first update.
    std::vector<std::string> requiredItemsStatusList;
    /// Items that a repair will be run for by the update tool.
    std::int32_t numberRepairsRequired = 0;
    /// Items that are not in order.
    std::int32_t numberItemsMissing = 0;
    bool m_MacFuseRepairRequired = false;
    bool m_HelperRepairRequired = false;
    /// Index of the Finder overlay entry found out of date; survives updates.
    std::int32_t restartIndex = -1;
};

}  // namespace quillmore
