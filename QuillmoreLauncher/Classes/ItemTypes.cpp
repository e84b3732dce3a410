#include "QuillmoreLauncher/Classes/ItemTypes.h"

#include "QuillmoreLauncher/Classes/InstallCheckManager.h"

namespace quillmore {

namespace {

using Check = InstallCheckManager;

constexpr ItemType kItemTypes[] = {
    {kTypeCoreApp, &Check::updateRequiredItemStatusCoreApp,  //
     &Check::repairCoreApp, Repaired::always},
    {kTypeFramework, &Check::updateRequiredItemStatusFramework,  //
     &Check::repairFramework, Repaired::withInstaller},
    {kTypeBundle, &Check::updateRequiredItemStatusBundle,  //
     &Check::repairBundle, Repaired::withInstaller},
    {kTypeQMTool, &Check::updateRequiredItemStatusTool,  //
     &Check::repairQMTool, Repaired::unlessUpdateTool},
    {kTypeQMToolRoot, &Check::updateRequiredItemStatusToolRoot,  //
     &Check::repairQMToolRoot, Repaired::unlessUpdateTool},
    {kTypeFinderCM, &Check::updateRequiredItemStatusFinderCM,  //
     &Check::repairZIPArchiveItem, Repaired::always},
    {kTypeFinderOverlayInsert, &Check::updateRequiredItemStatusFinderOverlayInsert,
     &Check::repairZIPArchiveItem, Repaired::always},
};

}  // namespace

const ItemType* itemTypeOf(const RequiredItem& item) {
    const auto word = item.type();
    for (const ItemType& row : kItemTypes)
        if (word == row.word) return &row;
    return nullptr;
}

bool isRepairedByRun(const ItemType& type, const RequiredItem& item) {
    switch (type.repaired) {
        case Repaired::always:
            return true;
        case Repaired::unlessUpdateTool:
            return item.name() != kNameUpdateTool;
        case Repaired::withInstaller:
            return item.installer().has_value();
    }
    return false;
}

}  // namespace quillmore
