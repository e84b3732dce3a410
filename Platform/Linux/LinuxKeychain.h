// The keychain by the Secret Service: an item is found by its attributes "service" and "account".
// Links no GLib; the module that does is opened on first use. Any thread.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <string>

#include "Platform/Ports/Keychain.h"
#include "Platform/Processes/Module.h"
#include "Platform/Values/Problems.h"

struct QuillmoreSecretModule;
struct QuillmoreSecretRequest;

namespace quillmore::platform {

struct LinuxKeychainOptions {
    std::string moduleFolder;  ///< Holds the secret module: the bundle's Contents/PlugIns.
    /// Told why the Secret Service could not be used, never a secret.
    Problems* problems = &ignoredProblems();
    /// Tests turn it by hand.
    std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
};

/// A locked keyring is unlocked by the user, who is asked by the desktop; one that stays locked is
/// kKeychainInteractionNotAllowed. No bus, service or module: kKeychainNotAvailable. A service or
/// account that is no UTF-8 or holds a zero: kKeychainBadParameter.
/// Either of the first two stands for two seconds: every call gets it at once, nobody is asked
/// again. Callers discard an item or write it anew when it could not be read: a keyring that came
/// back just then would let them hurt one that nothing is wrong with.
class LinuxKeychain final : public Keychain {
public:
    explicit LinuxKeychain(LinuxKeychainOptions options);

    OSStatus findGenericPassword(const std::string& service, const std::string& account,
                                 std::unique_ptr<KeychainItem>& item) override;
    /// Into the default keyring, which the user is asked to make when there is none.
    OSStatus addGenericPassword(const std::string& service, const std::string& account,
                                std::string_view data) override;
    OSStatus modifyContent(KeychainItem& item, std::string_view data) override;
    OSStatus deleteItem(KeychainItem& item) override;
    OSStatus copyData(KeychainItem& item, std::string& data) override;

private:
    struct Subject;
    using Call =
        std::function<std::int32_t(const QuillmoreSecretModule&, const QuillmoreSecretRequest&)>;
    OSStatus perform(const Subject& subject, const Call& call);
    OSStatus ask(const Subject& subject, const Call& call);
    OSStatus standing();
    void remember(OSStatus status);
    OSStatus performOn(KeychainItem& item, const Call& call);

    const LinuxKeychainOptions options_;
    Module<QuillmoreSecretModule> module_;
    std::mutex mutex_;
    OSStatus outOfReach_ = kKeychainSuccess;
    std::chrono::steady_clock::time_point outOfReachUntil_;
};

}  // namespace quillmore::platform
