// The command words and what each may do: the whole reach of the tool is in one table.
#pragma once

#include <ostream>
#include <span>
#include <string>

#include "UpdateTool/Ground/Context.h"
#include "UpdateTool/Packages/Signatures.h"

namespace quillmore::updatetool {

enum class Who { anyone, administrator };

struct Operation {
    const char* word;
    std::size_t argumentCount;
    const char* usage;  ///< The arguments' names.
    Who who;
    void (*run)(const Context& context, const Arguments& arguments);
    /// Fails (EX_USAGE) for what a package of the command may not be signed for; null for a command
    /// that takes no package.
    void (*requireSignedName)(const std::string& name);
    const char* touches;  ///< All that it may change.
    const char* isSafe;   ///< Why it may be in anyone's hands.
};

std::span<const Operation> operations();

/// Fails (EX_USAGE) when no row of the table installs what is signed for this.
void requireSignable(const Purpose& purpose);

/// Runs one command line (command word first). 0 when all of it is done; else a status of
/// sysexits.h with one line on `errors`, and nothing is changed.
int runCommand(const Context& context, const Arguments& commandLine, std::ostream& errors);

}  // namespace quillmore::updatetool
