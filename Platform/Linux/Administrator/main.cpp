// The launcher's privileged program. LinuxAuthorization starts it through pkexec, when and as long
// as an administrator's right is needed.
#include <sysexits.h>

#include "Platform/Linux/Administrator/Service.h"

int main() {
    using namespace quillmore::platform;
    auto client = administrator::makeProgramSafe();
    if (!client) return EX_USAGE;
    const auto spawner = makePosixProcessSpawner();
    return administrator::Service(std::move(*client), *spawner).run() ? 0 : EX_OSERR;
}
