// The steps of a move, for PFMoveApplication alone: the plan, the question, the two ways to do it,
// and what comes after.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Files/LockFile.h"
#include "Platform/Values/Result.h"

namespace quillmore {

/// Generations of the application framework, by its version number rounded down.
enum class PFFramework {
    upTo824,   ///< 10.4
    upTo949,   ///< 10.5: suppression box, Downloads folders, quarantine
    above949,  ///< 10.6: copies bundles, quarantine of whole trees
};
PFFramework currentFramework();

struct MovePlan {
    std::string source;
    std::string destination;
    /// Other bundles that go, in the order given, the tilde expanded. Never one that holds the
    /// source: it is needed for the copy.
    std::vector<std::string> alsoRemove;
    PFFramework framework = PFFramework::above949;
    bool startedFromDiskImage = false;
};
std::string moveDestination();
MovePlan makeMovePlan();
bool needsAdministrator(const MovePlan& plan);
/// True when the item is, under whatever path, the source or a folder above it. A link to it is
/// not: it can go without harm.
bool holdsSource(const std::string& path, const std::string& source);
/// The same; a link counts as what it leads to.
bool leadsTo(const std::string& path, const std::string& source);
/// Where a copy grows before it bears the destination's name: no application's name.
std::string stagingPath(const std::string& destination);

/// False: declined. The wish never to be asked again is saved.
bool askToMove(const MovePlan& plan, bool needsRights);

/// Held from the first step to the end of the process: another launcher of this user must neither
/// take a growing copy for an abandoned one nor make room for its own.
class MoveLock {
public:
    MoveLock();
    bool isHeldByAnother() const;

private:
    platform::Result<platform::LockFile> lock_;
};

/// What became of what was there before, for the user who is told of a failure.
struct MoveReport {
    std::vector<std::string> trashed;
    std::vector<std::string> removed;
    /// A piece of a copy that could not be taken away, or what an interrupted removal left.
    std::optional<std::string> incomplete;
};
enum class MoveResult { succeeded, cancelled, failed };
MoveResult moveWithAuthorization(const MovePlan& plan, MoveReport& report);
MoveResult moveWithTrash(const MovePlan& plan, MoveReport& report);
void showFailedMove(const MovePlan& plan, const MoveReport& report);
/// Takes away the piece of a copy that a killed launcher left; not while another one copies.
void removeInterruptedCopy(const std::string& destination);

/// Trashes the source, has the moved copy started once this process has ended, and ends it. Does
/// not return.
void finishMove(const MovePlan& plan);

}  // namespace quillmore
