#include "UpdateTool/Commands/Operations.h"

#include <exception>
#include <new>

#include "UpdateTool/Caller/Caller.h"
#include "UpdateTool/Commands/BundleInstallation.h"
#include "UpdateTool/Commands/CallerPermissions.h"
#include "UpdateTool/Commands/PackageInstallation.h"
#include "UpdateTool/Commands/Permissions.h"
#include "UpdateTool/Commands/SignedNames.h"
#include "UpdateTool/Commands/ToolInstallation.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

constexpr std::size_t kLongestQuotedArgument = 512;

// The whole reach of the tool. Targets.cpp has the folders and modes.
constexpr Operation kOperations[] = {
    {"repair", 1, "SIGNATURE", Who::administrator, repair, requireUpdateToolsName,
     "updateqm in the product folder",
     "an administrator's, and installs only the running program, signed as updateqm"},
    {"repairpermissions", 0, "", Who::administrator, repairPermissions, nullptr,
     "owner and mode of updateqm in the product folder",
     "the file is one that root alone could write, or the very one an administrator runs as root"},
    {"repaircore", 1, "PATH", Who::anyone, repairCore, nullptr,
     "mode of a folder NAMECore.app: the caller's, or one inside an application in /Applications",
     "the caller's with the caller's rights; else a fixed mode where root alone could put it"},
    {"repairother", 2, "PACKAGE SIGNATURE", Who::anyone, repairOther, requireOrdinaryToolsName,
     "one tool in the product folder, by the package's name",
     "signed for that name without privilege, and not older than what is there"},
    {"repairpermissionsother", 1, "NAME", Who::anyone, repairPermissionsOther, nullptr,
     "owner and mode of one tool in the product folder",
     "takes privileges away and never gives any; root tools and updateqm are left alone"},
    {"repairpackage", 1, "PACKAGE", Who::anyone, repairPackage, requireNoName,
     "one bundle in /Library/Filesystems or /Library/Frameworks",
     "signed as such a package, not older than what is there, no set-user-ID bit in it"},
    {"repairotherroot", 2, "PACKAGE SIGNATURE", Who::anyone, repairOtherRoot,
     requireOrdinaryToolsName,
     "one set-user-ID tool in the product folder, by the package's name, and its receipt",
     "signed for that name with the bit, and not older: the distributor answers for what it does"},
    {"repairpermissionsotherroot", 1, "NAME", Who::anyone, repairPermissionsOtherRoot, nullptr,
     "owner and mode of one tool in the product folder",
     "the bit goes back only where a signature once gave it and root alone could write since"},
    {"repairzipitem", 3, "ARCHIVE SIGNATURE INSTALLPATH", Who::anyone, repairZipItem,
     requireZipItemsPath, "one bundle in one of three folders",
     "signed for that very path, and not older than what is there"},
    {"repairintel10_5", 2, "ARCHIVE SIGNATURE", Who::anyone, repairIntelFixes, requireFixesName,
     "Fixes10_5 in the product folder", "signed as the fixes, none older than what is there"},
    {"applyfullupdate", 3, "ARCHIVE SIGNATURE INSTALLPATH", Who::anyone, applyFullUpdate,
     requireApplicationsPath, "one application in /Applications",
     "signed for that very path, and not older than what is there"},
    {"fixmonokeypairs", 1, "PATH", Who::anyone, fixMonoKeypairs, nullptr,
     "modes of the caller's own key pairs", "gives root up for good before it looks at anything"},
};

/// Null for a word that is none.
const Operation* operationOf(const Arguments& commandLine) {
    for (const Operation& row : kOperations)
        if (!commandLine.empty() && commandLine.front() == row.word) return &row;
    return nullptr;
}

bool hasItsArguments(const Operation& operation, const Arguments& commandLine) {
    return commandLine.size() - 1 == operation.argumentCount;
}

const Operation& requireOperation(const Arguments& commandLine) {
    if (commandLine.empty()) fail(EX_USAGE, "no command was given");
    const Operation* found = operationOf(commandLine);
    if (found == nullptr)
        fail(EX_USAGE,
             "unknown command " + quoted(commandLine.front().substr(0, kLongestQuotedArgument)));
    if (!hasItsArguments(*found, commandLine))
        fail(EX_USAGE, std::string("usage: updateqm ") + found->word +
                           (found->argumentCount == 0 ? "" : " ") + found->usage);
    return *found;
}

/// What the command line was about, when it was one: what else it holds is nobody's business.
std::string itemsOf(const Arguments& commandLine) {
    const Operation* operation = operationOf(commandLine);
    if (operation == nullptr || !hasItsArguments(*operation, commandLine)) return "";
    std::string text;
    for (std::size_t index = 1; index < commandLine.size(); ++index)
        text += (index == 1 ? " item " : " ") +
                quoted(commandLine[index].substr(0, kLongestQuotedArgument));
    return text;
}

void audit(const Context& context, const Arguments& commandLine, int status,
           const std::string& text) {
    if (!context.audit) return;
    const std::string word = commandLine.empty() ? "" : commandLine.front().substr(0, 64);
    context.audit("user " + std::to_string(context.callerUser) + " command " + quoted(word) +
                  " status " + std::to_string(status) + itemsOf(commandLine) +
                  (text.empty() ? "" : ": " + text));
}

/// With the caller's rights, for so is the stream.
void tell(const Context& context, const std::string& text, std::ostream& errors) {
    const ActingAsCaller caller(context);
    errors << "updateqm: " << text << std::endl;
}

void runChecked(const Context& context, const Arguments& commandLine) {
    const ActingAsCaller caller(context);
    const Operation& operation = requireOperation(commandLine);
    if (operation.who == Who::administrator && !context.administrator)
        fail(EX_NOPERM, std::string(operation.word) + " needs an administrator");
    operation.run(context, Arguments(commandLine.begin() + 1, commandLine.end()));
}

}  // namespace

std::span<const Operation> operations() {
    return kOperations;
}

void requireSignable(const Purpose& purpose) {
    const Operation* row = operationOf({purpose.command});
    if (row == nullptr) fail(EX_USAGE, "unknown command " + quoted(purpose.command));
    if (row->requireSignedName == nullptr)
        fail(EX_USAGE, quoted(purpose.command) + " takes no package: nothing is signed for it");
    row->requireSignedName(purpose.name);
}

int runCommand(const Context& context, const Arguments& commandLine, std::ostream& errors) {
    int status = EX_SOFTWARE;
    std::string text;
    try {
        runChecked(context, commandLine);
        status = EX_OK;
    } catch (const Failure& failure) {
        status = failure.exitStatus();
        text = failure.description();
    } catch (const std::bad_alloc&) {
        status = EX_OSERR;
        text = "there is not enough memory";
    } catch (const std::exception& exception) {
        text = exception.what();
    }
    try {
        // First, for whoever reads the errors may keep the program waiting.
        audit(context, commandLine, status, text);
        if (status != EX_OK) tell(context, text, errors);
    } catch (const std::exception&) {
        // There is not even memory for that. What was done is done.
    }
    return status;
}

}  // namespace quillmore::updatetool
