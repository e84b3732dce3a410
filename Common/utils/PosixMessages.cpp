// A file of its own because one C library has two functions of the name strerror_r: the compiler
// asks for its extensions by default, and that one never says that it has no message.
#undef _GNU_SOURCE
#undef _POSIX_C_SOURCE
#define _POSIX_C_SOURCE 200809L

#include <string.h>

#include "Common/utils/PosixMessages.h"

namespace quillmore {

int posixMessage(int errorNumber, char* buffer, std::size_t size) {
    return ::strerror_r(errorNumber, buffer, size);
}

}  // namespace quillmore
