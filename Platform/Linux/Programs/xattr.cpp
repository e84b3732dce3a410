// xattr -d [-r] NAME FILE...: removes an extended attribute, with -r from everything below folders
// too. Names are the user's own ("com.apple.quarantine" is "user.com.apple.quarantine" here).
// Symbolic links are left alone: they carry no such attributes.
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Removal {
    std::string name;
    bool recursive = false;
    bool failed = false;

    void complain(const std::string& path, const std::string& problem) {
        std::fprintf(stderr, "xattr: %s: %s\n", path.c_str(), problem.c_str());
        failed = true;
    }
    void removeFrom(const fs::path& path) {
        const std::string attribute = name.starts_with("user.") ? name : "user." + name;
        if (::lremovexattr(path.c_str(), attribute.c_str()) == 0) return;
        const bool lacksIt = errno == ENODATA || errno == ENOTSUP || errno == EPERM;
        // Of a whole tree hardly every file has it.
        if (lacksIt && recursive) return;
        complain(path.string(), lacksIt ? "No such xattr: " + name : std::strerror(errno));
    }
    void removeBelow(const fs::path& folder) {
        std::error_code failure;
        auto entry = fs::recursive_directory_iterator(folder, failure);
        while (!failure && entry != fs::recursive_directory_iterator()) {
            if (!entry->is_symlink(failure)) removeFrom(entry->path());
            entry.increment(failure);
        }
        if (failure) complain(folder.string(), failure.message());
    }
    void run(const fs::path& path) {
        removeFrom(path);
        std::error_code ignored;
        if (recursive && fs::is_directory(fs::symlink_status(path, ignored))) removeBelow(path);
    }
};

}  // namespace

int main(int argc, char** argv) {
    Removal removal;
    bool deletes = false;
    int option = 0;
    while ((option = ::getopt(argc, argv, "+dr")) != -1) {
        deletes = deletes || option == 'd';
        removal.recursive = removal.recursive || option == 'r';
        if (option == '?') return 64;
    }
    if (!deletes || argc - optind < 2) {
        std::fprintf(stderr, "usage: xattr -d [-r] NAME FILE...\n");
        return 64;
    }
    removal.name = argv[optind];
    for (int i = optind + 1; i < argc; ++i) removal.run(argv[i]);
    return removal.failed ? 1 : 0;
}
