#include "Common/BrandingManager.h"

#include "Common/UserManager.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"
#include "Platform/Threads/SharedInstance.h"
#include "Platform/Values/Text.h"

namespace quillmore {

namespace {

platform::SharedInstance<BrandingManager> sharedInstance;

constexpr std::int32_t kNoBrand = -1;
constexpr std::int32_t kLastOwnBrand = 10000;

/// The table's text; the key itself when the table has none.
std::string tableText(const std::string& key) {
    if (!platform::haveServices() || platform::services().mainBundle == nullptr) return key;
    return platform::services().mainBundle->localizedString(key);
}

std::string compositeKey(const std::optional<std::string>& section, const std::string& key) {
    return platform::format("%@_%@", section, key);
}

}  // namespace

BrandingManager& BrandingManager::sharedManager() {
    return sharedInstance.get();
}

BrandingManager::BrandingManager()
    : productName(tableText("ProductName")),
      sarvelProduct(tableText("SarvelProduct")),
      backupProduct(tableText("BackupProduct")),
      teamFolderProduct(tableText("TeamFolderProduct")),
      teamFoldersProduct(tableText("TeamFoldersProduct")) {}

std::string BrandingManager::substituted(std::string text) const {
    // The order counts: what one replacement puts in is open to the later ones.
    text = platform::stringByReplacing(text, "{#ProductName#}", productName);
    text = platform::stringByReplacing(text, "{#SarvelProduct#}", sarvelProduct);
    text = platform::stringByReplacing(text, "{#BackupProduct#}", backupProduct);
    text = platform::stringByReplacing(text, "{#TeamFolderProduct#}", teamFolderProduct);
    return platform::stringByReplacing(text, "{#TeamFoldersProduct#}", teamFoldersProduct);
}

std::optional<std::string> BrandingManager::localisedString(const std::optional<std::string>& key) {
    if (!key) return std::nullopt;
    const std::lock_guard lock(mutex_);
    const auto found = localisedStrings.find(*key);
    if (found != localisedStrings.end()) return found->second;
    return localisedStrings.emplace(*key, substituted(tableText(*key))).first->second;
}

std::optional<std::string> BrandingManager::localisedStringStrippingBrandingSection(
    const std::optional<std::string>& section, const std::optional<std::string>& key) {
    if (!key) return std::nullopt;
    std::string neutral = compositeKey(section, *key);
    for (const std::string& word :
         {productName, sarvelProduct, backupProduct, teamFolderProduct, teamFoldersProduct})
        neutral = platform::stringByReplacing(neutral, word, "");
    // Deliberate: a slash and a letter, not the control characters.
    for (const char* dropped : {" ", "/n", "/r"})
        neutral = platform::stringByReplacing(neutral, dropped, "");
    auto text = localisedString(neutral);
    if (text && *text != neutral) return text;
    return localisedString(key);
}

std::int32_t BrandingManager::getBrandingID() const {
    const UserManager users;
    return users.objectForKeyAsInt(kUserBrandID, users.lastUsedUserName(), kNoBrand);
}

bool BrandingManager::isReseller() const {
    return getBrandingID() > kLastOwnBrand;
}

std::optional<std::string> QMLocalizedString(const std::optional<std::string>& key) {
    return BrandingManager::sharedManager().localisedString(key);
}

std::string QMLocalizedString(const char* key) {
    return *BrandingManager::sharedManager().localisedString(std::string(key));
}

std::optional<std::string> QMLocalizedMonoString(const std::optional<std::string>& section,
                                                 const std::optional<std::string>& key) {
    if (!key) return std::nullopt;
    const std::string composite = compositeKey(section, *key);
    auto text = QMLocalizedString(std::optional(composite));
    if (text != composite) return text;
    return QMLocalizedString(key);
}

std::optional<std::string> QMLocalizedMonoStringStripProduct(
    const std::optional<std::string>& section, const std::optional<std::string>& key) {
    return BrandingManager::sharedManager().localisedStringStrippingBrandingSection(section, key);
}

std::optional<std::string> localizedStringWithArguments(
    const std::optional<std::string>& key, std::span<const platform::FormatArgument> arguments) {
    const auto text = QMLocalizedString(key);
    if (!text) return std::nullopt;
    return platform::formatWithArguments(*text, arguments);
}

}  // namespace quillmore
