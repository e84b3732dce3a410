// Room to work for libraries that end the whole process when the system refuses them a descriptor
// or a thread (GLib does): it is asked for before they are called. Only a look, nothing is kept for
// them; so more is asked for than they take.
#pragma once

#include <optional>

#include "Platform/Values/Error.h"

namespace quillmore::platform {

struct Headroom {
    int descriptors = 0;
    int threads = 0;
};

/// For a conversation over D-Bus: its sockets, wake-up descriptors and worker threads.
inline constexpr Headroom kHeadroomOfGLib{32, 4};

/// Opens that many descriptors and starts that many threads, and lets all go again. Why one of them
/// was refused; nothing when there is room. Any thread.
std::optional<Error> lackOf(const Headroom& room);

}  // namespace quillmore::platform
