#include "Platform/Linux/ProcFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <memory>
#include <string_view>

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Files/Paths.h"

namespace quillmore::platform {

namespace {

// The files read here have a few hundred bytes; a status file a few thousand.
constexpr std::size_t kMaximumBytes = 64 * 1024;
// What the kernel keeps of a name.
constexpr std::size_t kLongestCommandName = 15;
// The program, or an interpreter, an option of it and the script.
constexpr int kWordsThatName = 3;

template <class Number>
std::optional<Number> numberFrom(std::string_view text) {
    Number number{};
    const auto [end, trouble] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (trouble != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/// The field at an index of a line whose fields are parted by blanks or tabs.
std::optional<std::string_view> fieldAt(std::string_view line, int index) {
    constexpr std::string_view kBlanks = " \t\n";
    for (;; --index) {
        const std::size_t start = line.find_first_not_of(kBlanks);
        if (start == std::string_view::npos) return std::nullopt;
        line.remove_prefix(start);
        const std::size_t length = std::min(line.find_first_of(kBlanks), line.size());
        if (index == 0) return line.substr(0, length);
        line.remove_prefix(length);
    }
}

bool isWholeOf(const std::string& name, const std::string& cut) {
    return cut.size() < kLongestCommandName ? name == cut : name.starts_with(cut);
}

/// What stands behind "NAME:" in a status file.
std::optional<std::string_view> statusLine(std::string_view status, std::string_view name) {
    while (!status.empty()) {
        const std::size_t length = std::min(status.find('\n'), status.size());
        std::string_view line = status.substr(0, length);
        if (line.starts_with(name) && line.substr(name.size()).starts_with(':'))
            return line.substr(name.size() + 1);
        status.remove_prefix(std::min(length + 1, status.size()));
    }
    return std::nullopt;
}

template <class Number>
std::optional<Number> statusNumber(const std::optional<std::string>& status,
                                   std::string_view name) {
    if (!status) return std::nullopt;
    const auto line = statusLine(*status, name);
    const auto field = line ? fieldAt(*line, 0) : std::nullopt;
    return field ? numberFrom<Number>(*field) : std::nullopt;
}

}  // namespace

std::optional<std::string> ProcFolder::read(const std::string& process, const char* file) const {
    const std::string path = folder_ + "/" + process + "/" + file;
    const FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor) return std::nullopt;
    std::string text;
    std::array<char, 4096> buffer;
    while (text.size() < kMaximumBytes) {
        const ssize_t count = ::read(descriptor.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

std::vector<pid_t> ProcFolder::processes() const {
    struct Close {
        void operator()(DIR* folder) const { ::closedir(folder); }
    };
    const std::unique_ptr<DIR, Close> folder(::opendir(folder_.c_str()));
    std::vector<pid_t> numbers;
    if (!folder) return numbers;
    while (const dirent* entry = ::readdir(folder.get())) {
        const auto number = numberFrom<pid_t>(entry->d_name);
        if (number && *number > 0) numbers.push_back(*number);
    }
    return numbers;
}

std::optional<std::string> ProcFolder::executable(pid_t process) const {
    const std::string link = folder_ + "/" + std::to_string(process) + "/exe";
    std::array<char, PATH_MAX> buffer;
    const ssize_t count = ::readlink(link.c_str(), buffer.data(), buffer.size());
    if (count <= 0) return std::nullopt;
    std::string_view path(buffer.data(), static_cast<std::size_t>(count));
    // An application that is replaced while it runs is still that application.
    constexpr std::string_view kDeleted = " (deleted)";
    if (path.ends_with(kDeleted)) path.remove_suffix(kDeleted.size());
    return std::string(path);
}

std::optional<std::uint64_t> ProcFolder::startTime(pid_t process) const {
    const auto stat = read(std::to_string(process), "stat");
    if (!stat) return std::nullopt;
    // The name stands in parentheses and may hold blanks and parentheses itself: count from the
    // last one. Field 22 of the line is the 20th behind it.
    const std::size_t nameEnd = stat->rfind(')');
    if (nameEnd == std::string::npos) return std::nullopt;
    const auto field = fieldAt(std::string_view(*stat).substr(nameEnd + 1), 19);
    return field ? numberFrom<std::uint64_t>(*field) : std::nullopt;
}

std::optional<uid_t> ProcFolder::realUser(pid_t process) const {
    return statusNumber<uid_t>(read(std::to_string(process), "status"), "Uid");
}

std::optional<std::string> ProcFolder::commandName(pid_t process) const {
    auto name = read(std::to_string(process), "comm");
    if (name && name->ends_with('\n')) name->pop_back();
    return name;
}

/// The last component of the first word of the command line that a process is named after.
std::optional<std::string> ProcFolder::wordWithName(pid_t process, const std::string& name) const {
    const auto line = read(std::to_string(process), "cmdline");
    if (!line) return std::nullopt;
    std::size_t start = 0;
    for (int word = 0; word < kWordsThatName && start < line->size(); ++word) {
        std::string last = lastPathComponent(line->c_str() + start);
        if (isWholeOf(last, name)) return last;
        start = std::min(line->find('\0', start), line->size()) + 1;
    }
    return std::nullopt;
}

std::optional<std::string> ProcFolder::wholeName(pid_t process) const {
    const auto name = commandName(process);
    if (!name) return std::nullopt;
    const auto program = executable(process);
    const std::string programName = program ? lastPathComponent(*program) : "";
    if (isWholeOf(programName, *name)) return programName;
    if (auto word = wordWithName(process, *name)) return word;
    return programName.empty() ? name : programName;
}

std::optional<pid_t> ProcFolder::ownTracer() const {
    return statusNumber<pid_t>(read("self", "status"), "TracerPid");
}

}  // namespace quillmore::platform
