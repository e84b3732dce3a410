#include "UpdateTool/Disk/Exchange.h"

#include <fcntl.h>
#include <stdio.h>

#include <cerrno>

namespace quillmore::updatetool {

namespace {

int systemExchange(int leftFolder, const char* left, int rightFolder, const char* right) {
#ifdef __APPLE__
    return ::renameatx_np(leftFolder, left, rightFolder, right, RENAME_SWAP);
#else
    return ::renameat2(leftFolder, left, rightFolder, right, RENAME_EXCHANGE);
#endif
}

}  // namespace

Exchanged exchangeEntries(int leftFolder, const std::string& left, int rightFolder,
                          const std::string& right) {
    if (systemExchange(leftFolder, left.c_str(), rightFolder, right.c_str()) == 0)
        return Exchanged::done;
    const bool notSupported = errno == ENOSYS || errno == EINVAL || errno == ENOTSUP;
    return notSupported ? Exchanged::notSupported : Exchanged::failed;
}

}  // namespace quillmore::updatetool
