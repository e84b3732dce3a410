#ifdef __APPLE__

#include <libproc.h>

#include <csignal>

#include "UpdateTool/Disk/LockHolder.h"

namespace quillmore::updatetool {

std::string startOfProcess(pid_t process) {
    proc_bsdinfo information{};
    const int size = ::proc_pidinfo(process, PROC_PIDTBSDINFO, 0, &information, sizeof information);
    if (size != static_cast<int>(sizeof information)) return "";
    return std::to_string(information.pbi_start_tvsec) + "." +
           std::to_string(information.pbi_start_tvusec);
}

void endHolder(const LockHolder& holder) {
    if (!holder.started.empty() && startOfProcess(holder.process) == holder.started)
        ::kill(holder.process, SIGKILL);
}

}  // namespace quillmore::updatetool

#endif
