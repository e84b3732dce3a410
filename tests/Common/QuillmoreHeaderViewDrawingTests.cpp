#include "Common/BrandSource.h"
#include "Common/QuillmoreHeaderView.h"
#include "tests/fakes/RecordingGraphicsContext.h"
#include "tests/fakes/TestPictures.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using Calls = std::vector<std::string>;

struct BrandedDelegate final : platform::ApplicationDelegate, BrandSource {
    std::int32_t brand = 0;
    void applicationDidFinishLaunching() override {}
    std::int32_t brandId() const override { return brand; }
};

/// A view 500 points wide, in a bundle with all pictures; the standard logo is 120 × 60.
class HeaderDrawing : public testing::Test {
protected:
    HeaderDrawing() {
        services.makeResource("appheade_bg.png", bitmapFile(4, 60));
        services.makeResource("resellerheader_bg.png", bitmapFile(4, 60));
        services.makeResource("appheader_logo.png", bitmapFile(120, 60));
        services.makeResource("logo-1.bmp", bitmapFile(100, 50));
        services.makeResource("logo-15.bmp", bitmapFile(15, 20));
        services.application.setDelegate(&delegate);
        view.emplace("checkHeaderView", platform::Rect{7, 340, 500, 60});
        view->setTitle("Title");
    }
    void setLastUsersBrand(std::int32_t brand) {
        services.defaults->setObject("LastUsedUserName", "jo");
        services.defaults->setObject("UserList", platform::Array{platform::Dictionary{
                                                     {"UserName", "jo"}, {"BrandID", brand}}});
    }
    void makeUsersLogo(std::int32_t brand, std::uint32_t width, std::uint32_t height) {
        services.makeFile(std::string(kTestHome) + "/Library/Application Support/Quillmore/logo-" +
                              std::to_string(brand) + ".bmp",
                          bitmapFile(width, height));
    }
    /// What the view draws, between the focus lock and its release.
    Calls drawn() {
        RecordingGraphicsContext context;
        view->drawRect(view->bounds(), context);
        EXPECT_GE(context.calls.size(), 2U);
        EXPECT_EQ(context.calls.front(), "lockFocus");
        EXPECT_EQ(context.calls.back(), "unlockFocus");
        return Calls(context.calls.begin() + 1, context.calls.end() - 1);
    }
    platform::ImageReference picture(std::uint32_t width, std::uint32_t height) {
        services.makeFile("/picture.bmp", bitmapFile(width, height));
        return platform::Image::fromFile(services.files, "/picture.bmp");
    }
    TestServices services;
    BrandedDelegate delegate;
    std::optional<QuillmoreHeaderView> view;
};

const std::string kWhite = " options 33 Lucida Grande bold 9 16 white";
const std::string kBlack = " options 33 Lucida Grande bold 9 16 black";

TEST_F(HeaderDrawing, StandardBrandIsBackgroundLogoAndTitleWithoutARule) {
    setLastUsersBrand(1);
    EXPECT_EQ(drawn(),
              (Calls{"image appheade_bg.png 0 0 500 60", "image appheader_logo.png 365 0 120 60",
                     "text \"Title\" in 20 20 340 20" + kWhite}));
}

TEST_F(HeaderDrawing, TallLogoOfTheStandardBrandIsScaledAndNarrowsTheTitleAsDrawn) {
    setLastUsersBrand(1);
    view->setLogoImage(picture(120, 90));
    EXPECT_EQ(drawn(), (Calls{"image appheade_bg.png 0 0 500 60", "image picture.bmp 405 0 80 60",
                              "text \"Title\" in 20 20 380 20" + kWhite}));
}

TEST_F(HeaderDrawing, SmallLogoIsDrawnUnscaledWithItsOffsetTruncated) {
    setLastUsersBrand(1);
    view->setLogoImage(picture(40, 25));
    EXPECT_EQ(drawn()[1], "image picture.bmp 445 17 40 25");
}

TEST_F(HeaderDrawing, LogoIsScaledFromTheFirstPointAboveTheBannersHeight) {
    setLastUsersBrand(1);
    view->setLogoImage(picture(122, 61));
    EXPECT_EQ(drawn()[1], "image picture.bmp 365 0 120 60");
    view->setLogoImage(picture(122, 60));
    EXPECT_EQ(drawn()[1], "image picture.bmp 363 0 122 60");
    view->setLogoImage(picture(122, 59));
    EXPECT_EQ(drawn()[1], "image picture.bmp 363 0 122 59");
}

TEST_F(HeaderDrawing, ColoursFillAViewOfAnyHeightAndTheBannerStaysAtItsFoot) {
    for (const int height : {30, 90}) {
        view.emplace("checkHeaderView", platform::Rect{0, 0, 500, double(height)});
        view->setTitle("Title");
        const std::string fill = "fill 0 0 500 " + std::to_string(height);
        setLastUsersBrand(1);
        EXPECT_EQ(drawn(), (Calls{"image appheade_bg.png 0 0 500 60",
                                  "image appheader_logo.png 365 0 120 60",
                                  "text \"Title\" in 20 20 340 20" + kWhite}));
        setLastUsersBrand(15);
        EXPECT_EQ(drawn(),
                  (Calls{fill + " black", "image logo-15.bmp 470 20 15 20",
                         "fill 0 0 500 1 darkGray", "text \"Title\" in 20 20 445 20" + kWhite}));
        setLastUsersBrand(7);
        EXPECT_EQ(drawn()[0], fill + " white");
        setLastUsersBrand(10001);
        EXPECT_EQ(drawn()[0], "image resellerheader_bg.png 0 0 500 60");
        view->setUseWelcomeBranding(true);
        delegate.brand = 10001;
        EXPECT_EQ(drawn()[0], fill + " white");
    }
}

TEST_F(HeaderDrawing, OnePixelLogoAndAWideOne) {
    setLastUsersBrand(1);
    view->setLogoImage(picture(1, 1));
    EXPECT_EQ(drawn()[1], "image picture.bmp 484 29 1 1");
    view->setLogoImage(picture(600, 30));
    EXPECT_EQ(drawn(),
              (Calls{"image appheade_bg.png 0 0 500 60", "image picture.bmp -115 15 600 30",
                     "text \"Title\" in 20 20 -140 20" + kWhite}));
}

TEST_F(HeaderDrawing, BrandFifteenIsBlackWithItsLogoRuleAndWhiteTitle) {
    setLastUsersBrand(15);
    EXPECT_EQ(drawn(),
              (Calls{"fill 0 0 500 60 black", "image logo-15.bmp 470 20 15 20",
                     "fill 0 0 500 1 darkGray", "text \"Title\" in 20 20 445 20" + kWhite}));
}

TEST_F(HeaderDrawing, OtherOwnBrandsAreWhiteWithTheNaturalLogoWidthTaken) {
    setLastUsersBrand(7);
    makeUsersLogo(7, 120, 90);
    EXPECT_EQ(drawn(),
              (Calls{"fill 0 0 500 60 white", "image logo-7.bmp 405 0 80 60",
                     "fill 0 0 500 1 darkGray", "text \"Title\" in 20 20 340 20" + kBlack}));
}

TEST_F(HeaderDrawing, ResellersHaveTheirBackground) {
    for (const std::int32_t brand : {10001, 20000}) {
        setLastUsersBrand(brand);
        EXPECT_EQ(drawn(),
                  (Calls{"image resellerheader_bg.png 0 0 500 60", "image logo-1.bmp 385 5 100 50",
                         "fill 0 0 500 1 darkGray", "text \"Title\" in 20 20 360 20" + kBlack}));
    }
}

TEST_F(HeaderDrawing, LastOwnBrandBeforeTheResellersIsWhite) {
    setLastUsersBrand(10000);
    EXPECT_EQ(drawn()[0], "fill 0 0 500 60 white");
}

TEST_F(HeaderDrawing, WithoutALastUserTheBannerIsWhite) {
    EXPECT_EQ(drawn()[0], "fill 0 0 500 60 white");
}

TEST_F(HeaderDrawing, GenericBrandingIsBackgroundAndTitleOnly) {
    setLastUsersBrand(15);
    view->setUseGenericBranding(true);
    EXPECT_EQ(drawn(), (Calls{"image appheade_bg.png 0 0 500 60",
                              "text \"Title\" at 20 20 Lucida Grande bold 9 16 white"}));
}

TEST_F(HeaderDrawing, WelcomeOfAResellerIsWhiteWithRuleAndBlackTitleWhoeverUsedItLast) {
    setLastUsersBrand(15);
    view->setUseWelcomeBranding(true);
    view->setUseGenericBranding(true);
    for (const std::int32_t brand : {10001, 20000}) {
        delegate.brand = brand;
        EXPECT_EQ(drawn(), (Calls{"fill 0 0 500 60 white", "fill 0 0 500 1 darkGray",
                                  "text \"Title\" in 20 20 460 20" + kBlack}));
    }
}

TEST_F(HeaderDrawing, WelcomeOfAnOwnBrandIsTheStandardBanner) {
    view->setUseWelcomeBranding(true);
    for (const std::int32_t brand : {7, 1, 0, -3, 10000}) {
        delegate.brand = brand;
        EXPECT_EQ(drawn()[1], "image appheader_logo.png 365 0 120 60") << brand;
    }
}

TEST_F(HeaderDrawing, WelcomeOfBrandFifteenStaysItsOwnWhoeverUsedItLast) {
    delegate.brand = 15;
    setLastUsersBrand(7);
    makeUsersLogo(7, 70, 20);
    view->setUseWelcomeBranding(true);
    EXPECT_EQ(drawn(),
              (Calls{"fill 0 0 500 60 black", "image logo-15.bmp 470 20 15 20",
                     "fill 0 0 500 1 darkGray", "text \"Title\" in 20 20 445 20" + kWhite}));
}

TEST_F(HeaderDrawing, WelcomeOfAProgramThatHasNoBrandIsTheStandardBanner) {
    services.application.setDelegate(nullptr);
    setLastUsersBrand(15);
    view->setUseWelcomeBranding(true);
    EXPECT_EQ(drawn()[1], "image appheader_logo.png 365 0 120 60");
}

TEST_F(HeaderDrawing, WelcomeGoesOnToGenericBranding) {
    delegate.brand = 7;
    view->setUseWelcomeBranding(true);
    view->setUseGenericBranding(true);
    EXPECT_EQ(drawn().size(), 2U);
}

TEST_F(HeaderDrawing, InvisibleViewPaintsNothingAtAll) {
    view->setVisible(false);
    RecordingGraphicsContext context;
    view->drawRect(view->bounds(), context);
    EXPECT_TRUE(context.calls.empty());
}

TEST_F(HeaderDrawing, MissingPicturesAreSimplyNotDrawn) {
    const TestServices bare;
    bare.defaults->setObject("LastUsedUserName", "jo");
    bare.defaults->setObject(
        "UserList", platform::Array{platform::Dictionary{{"UserName", "jo"}, {"BrandID", 1}}});
    view.emplace("checkHeaderView", platform::Rect{0, 0, 500, 60});
    view->setTitle("Title");
    EXPECT_EQ(drawn(), Calls{"text \"Title\" in 20 20 460 20" + kWhite});
}

TEST_F(HeaderDrawing, NewLogoAsksForARedrawOnlyOnScreen) {
    int redraws = 0;
    view->setObserver([&] { ++redraws; });
    view->setLogoImage(picture(1, 1));
    EXPECT_EQ(redraws, 0);
    view->setWindowOnScreen(true);
    view->setLogoImage(picture(1, 1));
    EXPECT_EQ(redraws, 1);
}

}  // namespace
}  // namespace quillmore::tests
