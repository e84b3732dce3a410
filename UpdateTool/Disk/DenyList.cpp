#include "UpdateTool/Disk/DenyList.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>

#include "UpdateTool/Disk/FileContents.h"
#include "UpdateTool/Disk/Paths.h"
#include "UpdateTool/Disk/VolumeEntries.h"
#include "UpdateTool/Ground/Failure.h"

namespace quillmore::updatetool {

namespace {

constexpr off_t kMaximumSize = 1 << 20;

/// Rather nothing at all than what an administrator may have forbidden.
std::string textOfList(const Context& context, int productFolder) {
    const platform::FileDescriptor file =
        openEntry(productFolder, kDenyListName, O_RDONLY | O_NONBLOCK);
    if (!file && errno == ENOENT) return "";
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        !isTrusted(context, status) || status.st_nlink != 1 || status.st_size > kMaximumSize)
        fail(EX_CONFIG, quoted(kDenyListName) +
                            " of the product folder is not a file that only "
                            "root can have written: mend or remove it");
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    if (readUpTo(file.get(), text.data(), text.size()) != text.size())
        failWithSystemError(EX_CONFIG, "cannot read " + quoted(kDenyListName));
    return text;
}

/// What a line names: without a remark, the blanks around it and a path's last slash.
std::string_view nameIn(std::string_view line) {
    constexpr std::string_view kBlank = " \t\r";
    for (std::size_t at = line.find('#'); at != line.npos; at = line.find('#', at + 1))
        if (at == 0 || kBlank.find(line[at - 1]) != kBlank.npos) line = line.substr(0, at);
    line.remove_prefix(std::min(line.find_first_not_of(kBlank), line.size()));
    line = line.substr(0, line.find_last_not_of(kBlank) + 1);
    while (line.ends_with('/')) line.remove_suffix(1);
    return line;
}

bool isListed(std::string_view text, const std::string& folder, const std::string& name) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string line = folded(std::string(nameIn(text.substr(0, end))));
        if (line == folded(name) || line == folded(folder + "/" + name)) return true;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return false;
}

}  // namespace

void requireAllowed(const Context& context, int productFolder, const std::string& folder,
                    const std::string& name) {
    if (folded(name) == kDenyListName || isListed(textOfList(context, productFolder), folder, name))
        fail(EX_NOPERM,
             "an administrator forbids to change " + quoted(name) + " (" + kDenyListName + ")");
}

}  // namespace quillmore::updatetool
