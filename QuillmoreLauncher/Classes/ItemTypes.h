// What the installation check does with each type of item: one row a type. An entry whose type has
// no row is in order and never repaired.
#pragma once

#include <cstdint>

namespace quillmore {

class InstallCheckManager;
class RequiredItem;

/// When a repair run repairs an item that is not in order.
enum class Repaired {
    always,
    unlessUpdateTool,  ///< The update tool itself has its turn before all others.
    withInstaller,     ///< An entry that names no installer package is never repaired.
};

struct ItemType {
    const char* word;  ///< The value of "Type", compared exactly.
    /// `updateRequiredItemStatus...:atIndex:`
    void (InstallCheckManager::*updateStatus)(const RequiredItem& item, std::int32_t atIndex);
    bool (InstallCheckManager::*repair)(const RequiredItem& item);
    Repaired repaired;
};

/// Null for an entry of an unknown type, or of none.
const ItemType* itemTypeOf(const RequiredItem& item);

/// Whether a repair run has to do with the item at all, whatever its status.
bool isRepairedByRun(const ItemType& type, const RequiredItem& item);

}  // namespace quillmore
