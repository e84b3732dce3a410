// hdiutil detach FOLDER: unmounts the volume that is mounted on a folder. The system's own programs
// do it, which know whom they allow what: umount, and fusermount for a volume that a user mounted.
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr decltype(statfs::f_type) kFuse = 0x65735546;
constexpr int kNotFound = 127;

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 || std::strcmp(argv[1], "detach") != 0) {
        std::fprintf(stderr, "usage: hdiutil detach FOLDER\n");
        return 1;
    }
    const char* const folder = argv[2];
    struct statfs volume = {};
    if (::statfs(folder, &volume) != 0) {
        std::fprintf(stderr, "hdiutil: detach: %s: %s\n", folder, std::strerror(errno));
        return 1;
    }
    if (volume.f_type == kFuse && ::geteuid() != 0) {
        ::execlp("fusermount3", "fusermount3", "-u", "--", folder, nullptr);
        ::execlp("fusermount", "fusermount", "-u", "--", folder, nullptr);
    }
    ::execlp("umount", "umount", "--", folder, nullptr);
    std::fprintf(stderr, "hdiutil: umount: %s\n", std::strerror(errno));
    return kNotFound;
}
