// updateqm: the set-user-ID root helper. One command a run; see Operations.cpp for what there is.
// Without arguments it tells its version, which the launcher compares with its own.
#include <cstdio>
#include <exception>
#include <iostream>

#include "UpdateTool/Caller/AuditTrail.h"
#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Caller/Confinement.h"
#include "UpdateTool/Caller/OwnProgram.h"
#include "UpdateTool/Caller/ProcessGuard.h"
#include "UpdateTool/Commands/Operations.h"
#include "UpdateTool/Ground/Failure.h"

namespace {

using namespace quillmore::updatetool;

constexpr const char* kBanner =
    "Quillmore update tool, Copyright (C) 2010 Quillmore Limited " QUILLMORE_VERSION_TEXT "\n";

int tellVersion(const Context& context) {
    becomeCaller(context);
    const bool told = std::fputs(kBanner, stdout) >= 0 && std::fflush(stdout) == 0;
    return told ? EX_OK : EX_IOERR;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    makeProcessSafe(argumentCount);
    try {
        Context context = programContext();
        if (argumentCount == 1) return tellVersion(context);
        const AuditTrail trail(context, systemLogFolder());
        forbidWhatNobodyNeeds();
        context.audit = [&trail](const std::string& line) { trail.write(line); };
        return runCommand(context, Arguments(arguments + 1, arguments + argumentCount), std::cerr);
    } catch (const std::exception& exception) {
        std::cerr << "updateqm: " << exception.what() << std::endl;
        return EX_SOFTWARE;
    }
}
