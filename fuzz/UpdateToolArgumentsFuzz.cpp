// Whatever the command line of the set-user-ID helper: without a signature nothing changes, the
// status is one of sysexits.h, and there is one short line on standard error.
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "UpdateTool/Commands/Operations.h"

namespace {

using namespace quillmore::updatetool;

/// A machine with a package, a folder and a link, and nobody's public key.
Context makeMachine() {
    // In the working folder, where the next run finds it: a fuzzer ends without tidying up.
    const std::string folder =
        (std::filesystem::current_path() / "UpdateToolArgumentsFuzz.machine").string();
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder + "/home/XCore.app");
    std::ofstream(folder + "/home/tool") << "bytes";
    std::ofstream(folder + "/home/tool.sig") << std::string(256, 'x');
    std::filesystem::create_symlink("/home", folder + "/link");
    ::chmod(folder.c_str(), 0755);
    ::chmod((folder + "/home/XCore.app").c_str(), 0755);
    Context context;
    context.root = folder;
    context.publicKey = "none";
    context.callerUser = ::getuid();
    context.callerGroup = ::getgid();
    context.administrator = true;
    context.owner = ::geteuid();
    context.group = ::getegid();
    return context;
}

std::string stateOf(const std::string& folder) {
    std::ostringstream state;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        struct stat status {};
        ::lstat(entry.path().c_str(), &status);
        state << entry.path() << status.st_mode << ' ' << status.st_size << '\n';
    }
    return state.str();
}

Arguments split(const std::string& text) {
    Arguments arguments;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, '\0');) arguments.push_back(word);
    return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Context context = makeMachine();
    static const std::string before = stateOf(context.root);
    const Arguments arguments = split(std::string(reinterpret_cast<const char*>(data), size));
    std::ostringstream errors;
    const int status = runCommand(context, arguments, errors);
    const std::string line = errors.str();
    const bool harmless = status == EX_OK && arguments.front() == "repaircore";
    if (!harmless && (status < EX__BASE || status > EX__MAX)) std::abort();
    if (!harmless && (line.empty() || line.size() > 8192 || line.find('\n') != line.size() - 1))
        std::abort();
    if (stateOf(context.root) != before) std::abort();
    return 0;
}
