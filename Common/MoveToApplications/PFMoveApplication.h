// Offers to move the running application into the Applications folder, and moves it: with the Trash
// for what is in the way, or with administrator rights. Main thread only, at start-up.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillmore {

/// User-defaults key (boolean): never offer the move again.
inline constexpr const char* kMoveToApplicationsFolderAlertSuppress =
    "moveToApplicationsFolderAlertSuppress";

using PFPaths = std::optional<std::vector<std::string>>;

/// What the setters below keep; absent when not set.
struct PFMoveSettings {
    std::optional<std::string> gAltSrcBundlePath;
    std::optional<std::string> gAltDstBundleParentPath;
    /// Deliberate: only stored. The moved bundle keeps its own name.
    std::optional<std::string> gAltDstBundleName;
    PFPaths gAlsoRemoveBundlePaths;
};
const PFMoveSettings& PFCurrentMoveSettings();

// Each stores a copy of its argument and returns it.

/// The bundle to move, instead of the running application's own.
std::optional<std::string> PFAltSrcBundlePath(std::optional<std::string> path);
/// The folder to move into, instead of the local Applications folder.
std::optional<std::string> PFAltDstBundleParentPath(std::optional<std::string> path);
std::optional<std::string> PFAltDstBundleName(std::optional<std::string> name);
/// Further bundles to remove when the move is made; a leading "~" is allowed.
PFPaths PFAlsoRemoveBundles(PFPaths paths);

/// Offers the move unless the application lies in an Applications folder already or the user wants
/// no offer. Forgets the alternative source and destination folder first: it is always the running
/// bundle that moves, into the local Applications folder. Takes away what an interrupted move left
/// there.
void PFMoveToApplicationsFolderIfNecessary();
/// Asks, moves, starts the moved copy and ends this process. Returns when there is nothing to
/// offer and when the move was declined, cancelled or failed; the user has then been told.
void PFMove();
/// Moves a file or bundle to the user's Trash and logs how that went.
bool Trash(const std::string& path);

}  // namespace quillmore
