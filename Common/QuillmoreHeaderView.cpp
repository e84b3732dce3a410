#include "Common/QuillmoreHeaderView.h"

#include <cmath>
#include <utility>

#include "Common/BrandSource.h"
#include "Common/BrandingManager.h"
#include "Platform/Interface/Application.h"
#include "Platform/Ports/Services.h"

namespace quillmore {

using platform::GraphicsContext;
using platform::ImageReference;

namespace {

constexpr double kLogoRightMargin = 15.0;
constexpr platform::Point kTitleOrigin{20.0, 20.0};
constexpr double kTitleHeight = 20.0;
constexpr double kTitleMargins = 40.0;
constexpr double kRuleHeight = 1.0;
constexpr std::int32_t kStandardBrand = 1;
constexpr std::int32_t kBlackBrand = 15;
constexpr std::int32_t kFirstResellerBrand = 10001;
constexpr std::uint32_t kTitleOptions =
    platform::kTextUsesLineFragmentOrigin | platform::kTextTruncatesLastVisibleLine;

ImageReference applicationImage(const char* name) {
    return BrandingManager::applicationImage(name);
}

/// The brand of the application itself, which the welcome windows show whoever used it last.
std::int32_t applicationBrand() {
    const auto* source =
        dynamic_cast<const BrandSource*>(platform::services().application->delegate());
    return source == nullptr ? 0 : source->brandId();
}

}  // namespace

QuillmoreHeaderView::QuillmoreHeaderView(std::string name, const platform::Rect& frame)
    : DrawnView(std::move(name), frame),
      bkgImage(applicationImage("appheade_bg.png")),
      resellerBkgImage(applicationImage("resellerheader_bg.png")),
      logoImage(applicationImage("appheader_logo.png")),
      title_(QMLocalizedString("ProductName")) {}

void QuillmoreHeaderView::setLogoImage(ImageReference image) {
    logoImage = std::move(image);
    if (isWindowOnScreen()) setNeedsDisplay();
}

void QuillmoreHeaderView::setTitle(std::string string) {
    title_ = std::move(string);
    setNeedsDisplay();
}

void QuillmoreHeaderView::drawRect(const platform::Rect& dirtyRect, GraphicsContext& context) {
    if (!isVisible) return;
    const std::int32_t lastUsersBrand = BrandingManager::sharedManager().getBrandingID();
    context.lockFocus();
    drawBanner(lastUsersBrand, context);
    context.unlockFocus();
    DrawnView::drawRect(dirtyRect, context);
}

void QuillmoreHeaderView::drawBanner(std::int32_t brand, GraphicsContext& context) const {
    if (useWelcomeBranding) {
        brand = applicationBrand();
        if (brand >= kFirstResellerBrand) return drawWelcomeReseller(context);
        if (brand != kBlackBrand) brand = kStandardBrand;
    }
    if (useGenericBranding) return drawGeneric(context);
    if (brand == kStandardBrand) return drawStandard(context);
    drawBranded(brand, context);
}

void QuillmoreHeaderView::drawWelcomeReseller(GraphicsContext& context) const {
    context.fillRect(bounds(), platform::Color::white);
    drawRule(context);
    drawTitle(0, attributesWithBlackForeground, context);
}

void QuillmoreHeaderView::drawGeneric(GraphicsContext& context) const {
    drawBkgImage(context);
    context.drawText(title_, kTitleOrigin, attributesWithWhiteForeground);
}

void QuillmoreHeaderView::drawStandard(GraphicsContext& context) const {
    drawBkgImage(context);
    const double logoWidth = drawLogo(logoImage, context);
    drawTitle(logoWidth, attributesWithWhiteForeground, context);
}

void QuillmoreHeaderView::drawBranded(std::int32_t brand, GraphicsContext& context) const {
    const ImageReference logo =
        BrandingManager::sharedManager().getBrandedLogoImageForBrandID(brand);
    if (brand == kBlackBrand) {
        context.fillRect(bounds(), platform::Color::black);
    } else if (brand >= kFirstResellerBrand) {
        drawResellerBkgImage(context);
    } else {
        context.fillRect(bounds(), platform::Color::white);
    }
    drawLogo(logo, context);
    drawRule(context);
    // Deliberate: the natural width, not the drawn one, narrows the title here.
    drawTitle(logo ? logo->size().width : 0,
              brand == kBlackBrand ? attributesWithWhiteForeground : attributesWithBlackForeground,
              context);
}

void QuillmoreHeaderView::drawBkgImage(GraphicsContext& context) const {
    if (bkgImage) context.drawImage(*bkgImage, {0, 0, frame().width, kBannerHeight});
}

void QuillmoreHeaderView::drawResellerBkgImage(GraphicsContext& context) const {
    if (resellerBkgImage)
        context.drawImage(*resellerBkgImage, {0, 0, frame().width, kBannerHeight});
}

double QuillmoreHeaderView::drawLogo(const ImageReference& logo, GraphicsContext& context) const {
    if (!logo) return 0;
    platform::Size size = logo->size();
    if (size.height > kBannerHeight) {
        size.width = size.width * kBannerHeight / size.height;
        size.height = kBannerHeight;
    }
    const double offset = std::trunc((kBannerHeight - size.height) * 0.5);
    context.drawImage(
        *logo, {frame().width - size.width - kLogoRightMargin, offset, size.width, size.height});
    return size.width;
}

void QuillmoreHeaderView::drawTitle(double widthTaken, const platform::TextAttributes& attributes,
                                    GraphicsContext& context) const {
    const double width = frame().width - widthTaken - kTitleMargins;
    context.drawText(title_, {kTitleOrigin.x, kTitleOrigin.y, width, kTitleHeight}, kTitleOptions,
                     attributes);
}

void QuillmoreHeaderView::drawRule(GraphicsContext& context) const {
    context.fillRect({0, 0, bounds().width, kRuleHeight}, platform::Color::darkGray);
}

}  // namespace quillmore
