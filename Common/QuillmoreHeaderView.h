// The branded banner across the top of a window: background, logo, title. What it paints depends on
// the brand of the last user and on two switches. Main thread only.
#pragma once

#include <cstdint>
#include <string>

#include "Platform/Interface/DrawnView.h"

namespace quillmore {

class QuillmoreHeaderView final : public platform::DrawnView {
public:
    /// Points.
    static constexpr double kBannerHeight = 60.0;

    /// `initWithFrame:`. The title starts as the product's name, the logo as the standard one.
    explicit QuillmoreHeaderView(std::string name,
                                 const platform::Rect& frame = {0, 0, 500, kBannerHeight});

    /// Asks for a redraw only when the view's window is on screen. Null: no logo is drawn.
    void setLogoImage(platform::ImageReference image);
    /// Always asks for a redraw.
    void setTitle(std::string string);
    // These three ask for none.
    void setUseGenericBranding(bool flag) { useGenericBranding = flag; }
    void setUseWelcomeBranding(bool flag) { useWelcomeBranding = flag; }
    void setVisible(bool flag) { isVisible = flag; }

    const std::string& title() const { return title_; }
    const platform::ImageReference& logo() const { return logoImage; }
    bool usesGenericBranding() const { return useGenericBranding; }
    bool usesWelcomeBranding() const { return useWelcomeBranding; }
    bool visible() const { return isVisible; }

    void drawRect(const platform::Rect& dirtyRect, platform::GraphicsContext& context) override;

private:
    void drawBkgImage(platform::GraphicsContext& context) const;
    void drawResellerBkgImage(platform::GraphicsContext& context) const;
    void drawBanner(std::int32_t brand, platform::GraphicsContext& context) const;
    void drawWelcomeReseller(platform::GraphicsContext& context) const;
    void drawGeneric(platform::GraphicsContext& context) const;
    void drawStandard(platform::GraphicsContext& context) const;
    void drawBranded(std::int32_t brand, platform::GraphicsContext& context) const;
    /// Draws a logo at the right; gives its width as drawn, 0 without a logo.
    double drawLogo(const platform::ImageReference& logo, platform::GraphicsContext& context) const;
    void drawTitle(double widthTaken, const platform::TextAttributes& attributes,
                   platform::GraphicsContext& context) const;
    void drawRule(platform::GraphicsContext& context) const;

    platform::ImageReference bkgImage;
    platform::ImageReference resellerBkgImage;
    platform::ImageReference logoImage;
    std::string title_;
    bool useGenericBranding = false;
    bool useWelcomeBranding = false;
    bool isVisible = true;
    platform::Font font{"Lucida Grande", true, 9, 16.0};
    platform::TextAttributes attributesWithWhiteForeground{font, platform::Color::white};
    platform::TextAttributes attributesWithBlackForeground{font, platform::Color::black};
};

}  // namespace quillmore
