#include "Platform/Processes/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

namespace quillmore::platform {

void ensureStandardDescriptors() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        // The lowest free number is taken: it is the one just found closed.
        if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", O_RDWR | O_NOCTTY);
    }
}

}  // namespace quillmore::platform
