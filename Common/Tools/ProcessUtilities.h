// What runs on this machine: the client's core, the Finder, iTunes. Stateless; any thread.
#pragma once

#include <optional>
#include <string>

#include "Platform/Values/Value.h"

namespace quillmore {

class ProcessUtilities {
public:
    /// Runs three shell pipelines over the process table, always all three; true when one finds a
    /// match. A pipeline that cannot run counts as not found; when that is for want of a "ps", the
    /// log says so.
    static bool quillmoreCoreAlreadyRunning(const std::string& processName);
    /// The workspace's record of the application; nothing when it does not run.
    static std::optional<platform::Dictionary> getRunningiTunesInfo();
    static std::optional<platform::Dictionary> getRunningFinder();
    /// Always "en".
    static std::string currentLanguage();
};

}  // namespace quillmore
