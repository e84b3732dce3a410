// Localised texts with the brand's names put in, and the brand of the last user. The texts are
// fixed at creation. Any thread; a lock guards the cache.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "Common/KeyList.h"
#include "Platform/Interface/Image.h"
#include "Platform/Values/Format.h"

namespace quillmore::platform {
class ImageView;
}

namespace quillmore {

class QuillmoreHeaderView;

class BrandingManager {
public:
    static BrandingManager& sharedManager();
    BrandingManager();

    /// The text of a key with placeholders replaced, cached; nothing for an absent key.
    std::optional<std::string> localisedString(const std::optional<std::string>& key);
    /// `localisedStringStrippingBrandingSection:key:`: a key made brand-neutral, else the plain
    /// key.
    std::optional<std::string> localisedStringStrippingBrandingSection(
        const std::optional<std::string>& section, const std::optional<std::string>& key);
    /// "BrandID" of the last user; -1 when absent.
    std::int32_t getBrandingID() const;
    /// The logo of the last user's brand, or of a given one: the user's own file
    /// "~/Library/Application Support/Quillmore/logo-N.bmp", else the application's image of that
    /// name (only brand 15 has one), else "logo-1.bmp", also when the file cannot be read. Null
    /// only when the application lacks even that.
    platform::ImageReference getBrandedLogoImage() const;
    platform::ImageReference getBrandedLogoImageForBrandID(std::int32_t brandID) const;
    /// Sets the logo on the view, when there is an image.
    void setBrandedLogoImage(platform::ImageView& imageView) const;
    void setHeaderViewBrandedLogoImage(QuillmoreHeaderView& headerView) const;
    /// One of the application's own images; null when it has none of that name.
    static platform::ImageReference applicationImage(const std::string& name);
    /// Brand numbers above 10000 are resellers'.
    bool isReseller() const;

private:
    std::string substituted(std::string text) const;

    std::string productName;
    std::string sarvelProduct;
    std::string backupProduct;
    std::string teamFolderProduct;
    std::string teamFoldersProduct;
    std::mutex mutex_;
    std::map<std::string, std::string, std::less<>> localisedStrings;
};

/// The shared manager's text; nothing for an absent key.
std::optional<std::string> QMLocalizedString(const std::optional<std::string>& key);
/// The same for a key that is there: never absent.
std::string QMLocalizedString(const char* key);
/// The text of "SECTION_KEY" when the table has it, else of the key alone.
std::optional<std::string> QMLocalizedMonoString(const std::optional<std::string>& section,
                                                 const std::optional<std::string>& key);
std::optional<std::string> QMLocalizedMonoStringStripProduct(
    const std::optional<std::string>& section, const std::optional<std::string>& key);

std::optional<std::string> localizedStringWithArguments(
    const std::optional<std::string>& key, std::span<const platform::FormatArgument> arguments);
/// The localised text used as a format over the arguments.
template <class... Arguments>
std::optional<std::string> QMLocalizedStringWithArguments(const std::optional<std::string>& key,
                                                          const Arguments&... arguments) {
    const platform::FormatArgument erased[sizeof...(arguments) + 1] = {
        platform::FormatArgument(arguments)..., nullptr};
    return localizedStringWithArguments(key, std::span(erased, sizeof...(arguments)));
}

}  // namespace quillmore
