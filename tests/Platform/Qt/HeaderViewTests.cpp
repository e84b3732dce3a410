// The real header view, painted.
#include <QImage>

#include "Common/BrandSource.h"
#include "Common/QuillmoreHeaderView.h"
#include "Platform/Qt/DrawnViewWidget.h"
#include "tests/fakes/TestServices.h"

namespace quillmore {
namespace {

constexpr QRgb kBanner = 0xff204060;
constexpr QRgb kReseller = 0xffe0e0e0;
constexpr QRgb kLogo = 0xff00c000;
constexpr QRgb kOwnLogo = 0xffc00000;
constexpr QRgb kRule = 0xff555555;
constexpr QRgb kWhite = 0xffffffff;
constexpr QRgb kBlack = 0xff000000;

class Brand final : public platform::ApplicationDelegate, public BrandSource {
public:
    std::int32_t number = 1;
    void applicationDidFinishLaunching() override {}
    std::int32_t brandId() const override { return number; }
};

class PaintedHeader : public testing::Test {
protected:
    PaintedHeader() {
        makePicture("appheade_bg.png", 10, 60, kBanner);
        makePicture("resellerheader_bg.png", 10, 60, kReseller);
        makePicture("appheader_logo.png", 120, 90, kLogo);
        makePicture("logo-1.bmp", 40, 25, kLogo);
        makePicture("logo-15.bmp", 40, 40, kOwnLogo);
        services.application.setDelegate(&brand);
    }
    void makePicture(const char* name, int width, int height, QRgb color) {
        QImage image(width, height, QImage::Format_RGB32);
        image.fill(QColor::fromRgba(color));
        const std::string path = services.bundle->resourcePath() + "/" + name;
        image.save(QString::fromStdString(services.host(path)));
    }
    QImage painted() {
        header.emplace("checkHeaderView");
        header->setTitle("");
        if (prepare) prepare(*header);
        platform::DrawnViewWidget widget;
        widget.setFixedSize(500, 60);
        widget.setView(&*header, nullptr);
        return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    tests::TestServices services;
    Brand brand;
    std::function<void(QuillmoreHeaderView&)> prepare;
    std::optional<QuillmoreHeaderView> header;
};

TEST_F(PaintedHeader, StandardBannerHasItsLogoFifteenPointsFromTheRight) {
    prepare = [](QuillmoreHeaderView& view) { view.setUseWelcomeBranding(true); };
    const QImage image = painted();
    EXPECT_EQ(image.pixel(2, 2), kBanner);
    EXPECT_EQ(image.pixel(2, 59), kBanner);  // no rule
    EXPECT_EQ(image.pixel(484, 30), kLogo);
    EXPECT_EQ(image.pixel(486, 30), kBanner);
    EXPECT_EQ(image.pixel(406, 30), kLogo);
    EXPECT_EQ(image.pixel(403, 30), kBanner);
    EXPECT_EQ(image.pixel(450, 0), kLogo);
    EXPECT_EQ(image.pixel(450, 59), kLogo);
}

TEST_F(PaintedHeader, WelcomeResellerIsWhiteWithARule) {
    brand.number = 20000;
    prepare = [](QuillmoreHeaderView& view) { view.setUseWelcomeBranding(true); };
    const QImage image = painted();
    EXPECT_EQ(image.pixel(250, 30), kWhite);
    EXPECT_EQ(image.pixel(450, 30), kWhite);
    EXPECT_EQ(image.pixel(0, 59), kRule);
    EXPECT_EQ(image.pixel(499, 59), kRule);
    EXPECT_EQ(image.pixel(0, 58), kWhite);
}

TEST_F(PaintedHeader, WelcomeWithAnotherBrandIsTheStandardBanner) {
    brand.number = 7;
    prepare = [](QuillmoreHeaderView& view) { view.setUseWelcomeBranding(true); };
    EXPECT_EQ(painted().pixel(2, 2), kBanner);
}

TEST_F(PaintedHeader, BrandFifteenIsBlackWithItsOwnLogo) {
    brand.number = 15;
    prepare = [](QuillmoreHeaderView& view) { view.setUseWelcomeBranding(true); };
    const QImage image = painted();
    EXPECT_EQ(image.pixel(2, 2), kBlack);
    EXPECT_EQ(image.pixel(465, 30), kOwnLogo);
    EXPECT_EQ(image.pixel(2, 59), kRule);
}

TEST_F(PaintedHeader, GenericHasNeitherLogoNorRule) {
    prepare = [](QuillmoreHeaderView& view) { view.setUseGenericBranding(true); };
    const QImage image = painted();
    EXPECT_EQ(image.pixel(450, 30), kBanner);
    EXPECT_EQ(image.pixel(2, 59), kBanner);
}

TEST_F(PaintedHeader, InvisibleLeavesTheAreaUnpainted) {
    prepare = [](QuillmoreHeaderView& view) { view.setVisible(false); };
    const QImage image = painted();
    const QRgb bare = QWidget().palette().color(QPalette::Window).rgb();
    EXPECT_EQ(image.pixel(2, 2), bare);
    EXPECT_EQ(image.pixel(450, 30), bare);
}

TEST_F(PaintedHeader, WithoutAnyUserTheBannerIsWhiteWithTheFirstLogo) {
    const QImage image = painted();  // brand -1
    EXPECT_EQ(image.pixel(2, 2), kWhite);
    EXPECT_EQ(image.pixel(465, 30), kLogo);
    EXPECT_EQ(image.pixel(465, 60 - 17 - 1), kLogo);
    EXPECT_EQ(image.pixel(465, 60 - 17 + 1), kWhite);
    EXPECT_EQ(image.pixel(2, 59), kRule);
}

TEST_F(PaintedHeader, TheTitleIsWhiteOnTheBanner) {
    prepare = [](QuillmoreHeaderView& view) {
        view.setUseWelcomeBranding(true);
        view.setTitle("Installing Quillmore");
    };
    const QImage image = painted();
    int white = 0;
    for (int x = 20; x < 200; ++x) {
        for (int y = 15; y < 45; ++y) white += image.pixel(x, y) == kWhite ? 1 : 0;
    }
    EXPECT_GT(white, 100);
}

}  // namespace
}  // namespace quillmore
