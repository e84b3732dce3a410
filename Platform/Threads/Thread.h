// Names of threads and detached threads.
#pragma once

#include <functional>
#include <optional>
#include <string>

namespace quillmore::platform {

/// The calling thread's name object: absent until one was set; may be empty.
std::optional<std::string> currentThreadName();
void setCurrentThreadName(std::optional<std::string> name);

/// Runs `body` on a new thread that nobody joins. The body must let no exception out.
/// Raises an Exception when no thread can be started.
void detachNewThread(std::function<void()> body);

}  // namespace quillmore::platform
