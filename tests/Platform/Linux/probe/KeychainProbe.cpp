// Drives accounts over the real keychain from lines on standard input; writes one line for each:
//   find SERVICE ACCOUNT     the status, then the data; the item is kept for the next three
//   copy | delete            of the item that was found: the status (and the data)
//   modify DATA
//   add SERVICE ACCOUNT DATA the status
//   save USER PASSWORD [0|1] whether the password (and the choice) was saved
//   get USER                 the password and, when the record has one, the choice
//   flag USER KEY [0|1]      sets the flag; then whether it exists and its value
//   unflag USER KEY          "done"
//   savekey USER KEY         whether the encryption key was saved
//   getkey USER              the encryption key
//   remove USER              whether something was removed
//   brand                    the brand number, which is read through the users' settings
//   left USER                copies in memory of a password that was saved and read
//   mapped TEXT              whether a library of that name is mapped
// Arguments: the folder of the secret module, a folder for settings. Problems go to standard error.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Common/BrandingManager.h"
#include "Common/KeychainManager.h"
#include "Platform/FileDescriptor.h"
#include "Platform/FileManager.h"
#include "Platform/Linux/LinuxKeychain.h"
#include "Platform/SecretMemory.h"
#include "Platform/Services.h"
#include "Platform/UserDefaults.h"

using namespace quillmore;
using namespace quillmore::platform;

namespace {

/// Of a password that no text of this program holds: each letter is made when it is looked for.
constexpr std::size_t kLength = 40;
char letter(std::size_t index) {
    return static_cast<char>('a' + (index * index + 3 * index + 5) % 26);
}

int countIn(const char* bytes, std::size_t size) {
    int found = 0;
    for (std::size_t at = 0; at + kLength <= size; ++at) {
        std::size_t same = 0;
        while (same < kLength && bytes[at + same] == letter(same)) ++same;
        if (same == kLength) ++found;
    }
    return found;
}

/// Places in the writable memory of this process that hold the password.
int copiesInMemory() {
    const FileDescriptor memory(::open("/proc/self/mem", O_RDONLY | O_CLOEXEC));
    std::ifstream maps("/proc/self/maps");
    std::string text((std::istreambuf_iterator<char>(maps)), {});
    std::istringstream lines(text);
    static std::array<char, 4096> page;
    int found = 0;
    for (std::string line; std::getline(lines, line);) {
        unsigned long from = 0;
        unsigned long to = 0;
        if (line.find(" rw") == std::string::npos ||
            std::sscanf(line.c_str(), "%lx-%lx", &from, &to) != 2 || to - from >= (1UL << 30))
            continue;  // a sanitizer's own memory is terabytes
        for (unsigned long at = from; at < to; at += page.size()) {
            const auto* const here = reinterpret_cast<const char*>(at);
            const bool isOwnPage = here < page.data() + page.size() && page.data() < here + 4096;
            if (!isOwnPage && ::pread(memory.get(), page.data(), page.size(),
                                      static_cast<off_t>(at)) == ssize_t{page.size()})
                found += countIn(page.data(), page.size());
            wipe(page.data(), page.size());
        }
    }
    return found;
}

class Probe {
public:
    explicit Probe(LinuxKeychain& keychain) : keychain_(keychain) {}

    std::string answer(const std::vector<std::string>& words) {
        const std::string& command = words.at(0);
        if (command == "find") return find(words.at(1), words.at(2));
        if (command == "copy") return copy();
        if (command == "delete") return std::to_string(keychain_.deleteItem(*item_));
        if (command == "modify")
            return std::to_string(keychain_.modifyContent(*item_, words.at(1)));
        if (command == "add")
            return std::to_string(
                keychain_.addGenericPassword(words.at(1), words.at(2), words.at(3)));
        if (command == "brand")
            return std::to_string(BrandingManager::sharedManager().getBrandingID());
        if (command == "left") return left(words.at(1));
        if (command == "mapped") return mapped(words.at(1));
        return ofManager(words);
    }

private:
    std::string ofManager(const std::vector<std::string>& words) {
        const std::string& command = words.at(0);
        const std::string& user = words.at(1);
        if (command == "save") {
            const bool keep = words.size() > 3 && words[3] == "1";
            return yesNo(
                manager_.savePassword(words.at(2), user, words.size() > 3 ? &keep : nullptr));
        }
        if (command == "get") {
            bool keep = false;
            const auto password = manager_.getPasswordForUser(user, &keep);
            return password.value_or("(none)") + (keep ? " kept" : "");
        }
        if (command == "flag") {
            if (words.size() > 3) manager_.setFlag(words[3] == "1", words.at(2), user);
            return yesNo(manager_.flagExistsForKey(words.at(2), user)) + " " +
                   yesNo(manager_.flagForKey(words.at(2), user));
        }
        if (command == "unflag") {
            manager_.removeFlagForKey(words.at(2), user);
            return "done";
        }
        if (command == "savekey") return yesNo(manager_.saveEncryptionKey(words.at(2), user));
        if (command == "getkey") return manager_.getEncryptionKeyForUser(user).value_or("(none)");
        if (command == "remove") return yesNo(manager_.removePassword(user));
        return "unknown command";
    }
    std::string find(const std::string& service, const std::string& account) {
        item_.reset();
        const OSStatus status = keychain_.findGenericPassword(service, account, item_);
        return status == 0 ? copy() : std::to_string(status);
    }
    std::string copy() {
        std::string data;
        const OSStatus status = keychain_.copyData(*item_, data);
        return std::to_string(status) + (data.empty() ? "" : " " + data);
    }
    std::string left(const std::string& user) {
        bool same = false;
        {
            Wiped<KeychainManager::Text> password((KeychainManager::Text(makeSecret(kLength))));
            for (std::size_t i = 0; i < kLength; ++i) **password += letter(i);
            if (copiesInMemory() == 0) return "the search finds nothing";
            manager_.savePassword(*password, user, nullptr);
            const Wiped<KeychainManager::Text> read(manager_.getPasswordForUser(user, nullptr));
            same = *read == *password;
        }
        return same ? std::to_string(copiesInMemory()) : "not read back";
    }
    static std::string mapped(const std::string& text) {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            if (line.find(text) != std::string::npos) return "yes";
        return "no";
    }
    static std::string yesNo(bool value) { return value ? "yes" : "no"; }

    LinuxKeychain& keychain_;
    std::unique_ptr<KeychainItem> item_;
    KeychainManager manager_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    LinuxKeychain keychain(
        {arguments[1], [](const std::string& problem) { std::cerr << problem << std::endl; }});
    const FileManager files;
    UserDefaults defaults(files, arguments[2], "com.quillmore.probe", {});
    Services services;
    services.processName = "probe";
    services.makeFileManager = [] { return std::make_unique<FileManager>(); };
    services.standardUserDefaults = &defaults;
    services.keychain = &keychain;
    setServices(&services);

    Probe probe(keychain);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream stream(line);
        std::vector<std::string> words;
        for (std::string word; stream >> word;) words.push_back(word);
        if (!words.empty()) std::cout << probe.answer(words) << std::endl;
    }
}
