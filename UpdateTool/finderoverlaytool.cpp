// finderoverlaytool: makes the running Finder load the overlay bundle. It may be installed
// set-user-ID root; nothing that it does needs that, so it gives root up before it does anything.
#include <cstdio>
#include <exception>
#include <iostream>

#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Caller/ProcessGuard.h"
#include "UpdateTool/Commands/FinderOverlay.h"
#include "UpdateTool/Ground/Failure.h"

namespace {
constexpr const char* kBanner =
    "Quillmore Finder overlay tool, Copyright (C) 2010 Quillmore Limited " QUILLMORE_VERSION_TEXT
    "\n";
}

int main(int argumentCount, char** arguments) {
    using namespace quillmore::updatetool;
    makeProcessSafe(argumentCount);
    try {
        const Context context = programContext();
        becomeCaller(context);
        if (argumentCount == 1) {
            const bool told = std::fputs(kBanner, stdout) >= 0 && std::fflush(stdout) == 0;
            return told ? EX_OK : EX_IOERR;
        }
        return runFinderOverlayCommand(context, {arguments + 1, arguments + argumentCount},
                                       std::cerr);
    } catch (const std::exception& exception) {
        std::cerr << "finderoverlaytool: " << exception.what() << std::endl;
        return EX_SOFTWARE;
    }
}
