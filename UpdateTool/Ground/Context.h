// Whom the tool works for and where: filled by main once, by tests with a folder of their own.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quillmore::updatetool {

/// What follows the program's name, or the command word, on a command line.
using Arguments = std::vector<std::string>;
/// A whole file in memory.
using Bytes = std::vector<std::uint8_t>;

/// Whether a package may come without its signature over SHA-256. One that is there must be right.
enum class SecondSignature { isOptional, isRequired };

struct Context {
    /// Put before every path; "" in the program, and nothing outside a test may set another.
    std::string root;
    /// PEM text. Nothing is installed that does not verify under it.
    std::string publicKey;
    SecondSignature secondSignature = SecondSignature::isOptional;
    /// The running program's own file.
    std::string programPath;

    /// Who ran the tool. Its input files are read with these rights.
    uid_t callerUser = 0;
    gid_t callerGroup = 0;
    /// An administrator authorised this run: the caller is root, or the tool was given root by the
    /// system rather than by its own set-user-ID bit.
    bool administrator = false;

    /// Whom installed items and the folders above them belong to: root.
    uid_t owner = 0;
    gid_t group = 0;
    /// Groups that may write in a folder without making it unsafe (members can become root anyway).
    std::vector<gid_t> trustedGroups;

    /// Takes one line a run. May be empty.
    std::function<void(const std::string&)> audit;
};

inline constexpr const char* kProductFolder = "/Library/Application Support/Quillmore";
inline constexpr const char* kUpdateToolName = "updateqm";
inline constexpr const char* kIntelFixesName = "Fixes10_5";
inline constexpr const char* kApplicationsFolder = "/Applications";

}  // namespace quillmore::updatetool
