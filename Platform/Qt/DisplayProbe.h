// Tries the display in a process of its own: a toolkit that cannot use its display ends the process
// it is in. Main thread only.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace quillmore::platform {

/// Why no window can be shown; nothing when all is well. A display that does not answer in time
/// counts as unusable. Call before the toolkit's application object is made.
std::optional<std::string> problemWithDisplay(
    std::chrono::milliseconds patience = std::chrono::seconds(10));

}  // namespace quillmore::platform
