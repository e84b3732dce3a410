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
//   left USER                copies in memory of a password that was saved and read, as a key too
//   mapped TEXT              whether a library of that name is mapped
//   stop CALL...             "done"; the next such calls of the keychain manager wait, each in
//   turn,
//                            with "at CALL" until they are given a line
// Its clock stands still while it answers, and an hour passes before each line. The log is the most
// detailed one, on standard output.
// Arguments: the folder of the secret module, a folder for settings. Problems go to standard error.
#include <deque>
#include <fstream>
#include <iostream>
#include <sstream>

#include "Common/BrandingManager.h"
#include "Common/KeychainManager.h"
#include "Common/utils/Logging.h"
#include "Platform/Files/FileManager.h"
#include "Platform/Linux/LinuxKeychain.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/UserDefaults.h"
#include "Platform/Values/SecretMemory.h"
#include "tests/fakes/HiddenText.h"
#include "tests/fakes/PrintedProblems.h"

using namespace quillmore;
using namespace quillmore::platform;

namespace {

constexpr tests::HiddenText kPassword(40, 1);

/// Lets the world change before a call.
class StoppingKeychain final : public Keychain {
public:
    explicit StoppingKeychain(Keychain& keychain) : keychain_(keychain) {}
    void stopAt(std::deque<std::string> calls) { stops_ = std::move(calls); }

    OSStatus findGenericPassword(const std::string& service, const std::string& account,
                                 std::unique_ptr<KeychainItem>& item) override {
        reach("find");
        return keychain_.findGenericPassword(service, account, item);
    }
    OSStatus addGenericPassword(const std::string& service, const std::string& account,
                                std::string_view data) override {
        reach("add");
        return keychain_.addGenericPassword(service, account, data);
    }
    OSStatus modifyContent(KeychainItem& item, std::string_view data) override {
        reach("modify");
        return keychain_.modifyContent(item, data);
    }
    OSStatus deleteItem(KeychainItem& item) override {
        reach("delete");
        return keychain_.deleteItem(item);
    }
    OSStatus copyData(KeychainItem& item, std::string& data) override {
        reach("copy");
        return keychain_.copyData(item, data);
    }

private:
    void reach(const std::string& call) {
        if (stops_.empty() || stops_.front() != call) return;
        stops_.pop_front();
        std::cout << "at " << call << std::endl;
        std::string goOn;
        std::getline(std::cin, goOn);
    }
    Keychain& keychain_;
    std::deque<std::string> stops_;
};

class Probe {
public:
    Probe(LinuxKeychain& keychain, StoppingKeychain& stopping)
        : keychain_(keychain), stopping_(stopping) {}

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
        if (command == "stop") {
            stopping_.stopAt({words.begin() + 1, words.end()});
            return "done";
        }
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
            const Wiped<KeychainManager::Text> password{KeychainManager::Text(kPassword.text())};
            if (kPassword.copiesInMemory() == 0) return "the search finds nothing";
            manager_.savePassword(*password, user, nullptr);
            manager_.saveEncryptionKey(*password, user);
            const Wiped<KeychainManager::Text> read(manager_.getPasswordForUser(user, nullptr));
            const Wiped<KeychainManager::Text> readKey(manager_.getEncryptionKeyForUser(user));
            same = *read == *password && *readKey == *password;
        }
        return std::to_string(kPassword.copiesInMemory()) + (same ? "" : " not read back");
    }
    static std::string mapped(const std::string& text) {
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            if (line.find(text) != std::string::npos) return "yes";
        return "no";
    }
    static std::string yesNo(bool value) { return value ? "yes" : "no"; }

    LinuxKeychain& keychain_;
    StoppingKeychain& stopping_;
    std::unique_ptr<KeychainItem> item_;
    KeychainManager manager_;
};

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    std::chrono::steady_clock::time_point now;
    tests::PrintedProblems problems;
    LinuxKeychain keychain({arguments[1], &problems, [&] { return now; }});
    StoppingKeychain stopping(keychain);
    const FileManager files;
    UserDefaults defaults(files, arguments[2], "com.quillmore.probe", {}, problems);
    Services services;
    services.processName = "probe";
    services.makeFileManager = [] { return std::make_unique<FileManager>(); };
    services.problems = &problems;
    services.standardUserDefaults = &defaults;
    services.keychain = &stopping;
    setServices(&services);
    initLogging(kLogLevelError, kLogLevelDetailed, std::nullopt);

    Probe probe(keychain, stopping);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream stream(line);
        std::vector<std::string> words;
        for (std::string word; stream >> word;) words.push_back(word);
        now += std::chrono::hours(1);
        if (!words.empty()) std::cout << probe.answer(words) << std::endl;
    }
}
