#include "Platform/Files/Paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace quillmore::platform {

namespace {

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    return path;
}

std::string homeFolderOfAccount() {
    std::string buffer(1024, '\0');
    passwd entry = {};
    passwd* found = nullptr;
    int error = 0;
    while ((error = ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found)) ==
           ERANGE)
        buffer.resize(buffer.size() * 2);
    if (error == 0 && found != nullptr && found->pw_dir[0] == '/') return found->pw_dir;
    return "/";
}

}  // namespace

std::string pathByAppending(std::string_view path, std::string_view component) {
    while (!component.empty() && component.front() == '/') component.remove_prefix(1);
    std::string joined(withoutTrailingSlashes(path));
    if (component.empty()) return joined;
    if (!joined.empty() && joined != "/") joined += '/';
    return joined.append(withoutTrailingSlashes(component));
}

std::string lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/") return "/";
    const std::string_view::size_type slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string pathByDeletingLastComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::string_view::size_type slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    return std::string(withoutTrailingSlashes(path.substr(0, slash + 1)));
}

bool isPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

std::string expandTilde(std::string_view path, std::string_view homeFolder) {
    if (homeFolder.empty() || (path != "~" && !path.starts_with("~/"))) return std::string(path);
    homeFolder = withoutTrailingSlashes(homeFolder);
    if (homeFolder == "/" && path.size() > 1) homeFolder = {};
    return std::string(homeFolder).append(path.substr(1));
}

std::string homeFolderOfUser() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') return std::string(withoutTrailingSlashes(home));
    return homeFolderOfAccount();
}

}  // namespace quillmore::platform
