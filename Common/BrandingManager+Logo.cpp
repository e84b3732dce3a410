#include "Common/BrandingManager.h"
#include "Common/QuillmoreHeaderView.h"
#include "Common/utils/Folders.h"
#include "Platform/Files/Paths.h"
#include "Platform/Interface/Outlets.h"
#include "Platform/Ports/Services.h"
#include "Platform/Settings/Bundle.h"

namespace quillmore {

using platform::ImageReference;

namespace {

constexpr const char* kStandardLogo = "logo-1.bmp";
/// Deliberate: besides the standard brand the only one whose logo ships inside the application.
constexpr std::int32_t kBrandWithOwnLogo = 15;

}  // namespace

ImageReference BrandingManager::applicationImage(const std::string& name) {
    if (!platform::haveServices() || platform::services().mainBundle == nullptr) return nullptr;
    return platform::Image::named(__QMCurrentThreadFileManager(), *platform::services().mainBundle,
                                  name);
}

ImageReference BrandingManager::getBrandedLogoImage() const {
    return getBrandedLogoImageForBrandID(getBrandingID());
}

ImageReference BrandingManager::getBrandedLogoImageForBrandID(std::int32_t brandID) const {
    const platform::FileManager& files = __QMCurrentThreadFileManager();
    const std::string name = platform::format("logo-%d.bmp", brandID);
    const std::string usersFile =
        platform::expandTilde(platform::format("~/Library/Application Support/Quillmore/%@", name),
                              platform::services().homeFolder);
    ImageReference image;
    if (files.fileExists(usersFile)) {
        image = platform::Image::fromFile(files, usersFile);
    } else if (brandID == kBrandWithOwnLogo) {
        image = applicationImage(name);
        if (image && image->pixels().rgba.empty()) image = nullptr;
    }
    return image ? image : applicationImage(kStandardLogo);
}

void BrandingManager::setBrandedLogoImage(platform::ImageView& imageView) const {
    if (ImageReference image = getBrandedLogoImage()) imageView.setImage(std::move(image));
}

void BrandingManager::setHeaderViewBrandedLogoImage(QuillmoreHeaderView& headerView) const {
    if (ImageReference image = getBrandedLogoImage()) headerView.setLogoImage(std::move(image));
}

}  // namespace quillmore
