#include "UpdateTool/Commands/FinderOverlay.h"

#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

int runFinderOverlayCommand(const Context& context, const std::vector<std::string>& commandLine,
                            std::ostream& errors) {
    try {
        if (commandLine.size() != 1 || commandLine.front() != "insertfinderoverlay")
            fail(EX_USAGE, "usage: finderoverlaytool insertfinderoverlay");
        // What others could have changed must not run inside the Finder.
        openTrustedFolder(context, std::string(kFinderOverlayFolder) + "/" + kFinderOverlayName);
        insertIntoFinder();
        return EX_OK;
    } catch (const Failure& failure) {
        errors << "finderoverlaytool: " << failure.description() << std::endl;
        return failure.exitStatus();
    }
}

}  // namespace quillmore::updatetool
