// Drawing by the toolkit's painter: coordinates, pictures, mirroring.
#include <QImage>
#include <QPainter>

#include "Platform/Files/FileManager.h"
#include "Platform/Qt/QtGraphicsContext.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::platform {
namespace {

constexpr QRgb kRed = 0xffff0000;
constexpr QRgb kBlue = 0xff0000ff;
constexpr QRgb kWhite = 0xffffffff;
constexpr QRgb kBlack = 0xff000000;
const TextAttributes kWhiteText{{"Lucida Grande", true, 9, 16}, Color::white};

class Drawing : public testing::Test {
protected:
    QtGraphicsContext& context(Qt::LayoutDirection direction = Qt::LeftToRight) {
        return context_.emplace(painter_.emplace(&canvas), canvas.deviceIndependentSize(),
                                direction);
    }
    QImage drawn() {
        context_.reset();
        painter_.reset();
        return canvas;
    }
    void useDoubleDensity() {
        canvas = blank(400, 120);
        canvas.setDevicePixelRatio(2);
    }
    static QImage blank(int width, int height) {
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(QColor::fromRgba(kBlack));
        return image;
    }
    /// A picture, its left half red and its right half blue; of another colour in double density.
    ImageReference picture(const char* name, bool withDouble = false) {
        QImage image(20, 10, QImage::Format_ARGB32);
        image.fill(QColor::fromRgba(kRed));
        for (int x = 10; x < 20; ++x) {
            for (int y = 0; y < 10; ++y) image.setPixel(x, y, kBlue);
        }
        const std::string path = folder.path() + "/" + name;
        image.save(QString::fromStdString(path + ".png"));
        image = image.scaled(40, 20);
        image.fill(QColor::fromRgba(kWhite));
        if (withDouble) image.save(QString::fromStdString(path + "@2x.png"));
        return Image::fromFile(files, path + ".png");
    }
    /// The columns between the first and the last that are not black, as drawn.
    static std::pair<int, int> columns(const QImage& image) {
        int first = image.width();
        int last = -1;
        for (int x = 0; x < image.width(); ++x) {
            for (int y = 0; y < image.height(); ++y) {
                if (image.pixel(x, y) == kBlack) continue;
                first = std::min(first, x);
                last = x;
            }
        }
        return {first, last};
    }

    QImage canvas = blank(200, 60);
    tests::TemporaryFolder folder;
    FileManager files;

private:
    std::optional<QPainter> painter_;
    std::optional<QtGraphicsContext> context_;
};

TEST_F(Drawing, TheOriginIsAtTheBottomLeft) {
    context().fillRect({0, 0, 200, 1}, Color::white);
    const QImage image = drawn();
    EXPECT_EQ(image.pixel(0, 59), kWhite);
    EXPECT_EQ(image.pixel(199, 59), kWhite);
    EXPECT_EQ(image.pixel(0, 58), kBlack);
    EXPECT_EQ(image.pixel(0, 0), kBlack);
}

TEST_F(Drawing, DarkGrayIsAThirdOfWhite) {
    context().fillRect({0, 0, 200, 60}, Color::darkGray);
    EXPECT_EQ(drawn().pixel(5, 5), 0xff555555);
}

TEST_F(Drawing, PicturesFillTheirRectangleUnflipped) {
    context().drawImage(*picture("half"), {100, 10, 40, 20});
    const QImage image = drawn();
    EXPECT_EQ(image.pixel(105, 40), kRed);
    EXPECT_EQ(image.pixel(135, 40), kBlue);
    EXPECT_EQ(image.pixel(105, 28), kBlack);
    EXPECT_EQ(image.pixel(105, 51), kBlack);
}

TEST_F(Drawing, DoubleDensityTakesTheDoubleDensityPicture) {
    const ImageReference image = picture("both", true);
    context().drawImage(*image, {0, 0, 20, 10});
    EXPECT_EQ(drawn().pixel(5, 55), kRed);
    useDoubleDensity();
    context().drawImage(*image, {0, 0, 20, 10});
    EXPECT_EQ(drawn().pixel(10, 110), kWhite);
}

TEST_F(Drawing, DensityInBetweenTakesTheDoubleDensityPictureToo) {
    canvas.setDevicePixelRatio(1.5);
    context().drawImage(*picture("both", true), {0, 0, 20, 10});
    EXPECT_EQ(drawn().pixel(5, 55), kWhite);
}

TEST_F(Drawing, APictureThatShrinksFarIsAveraged) {
    QImage stripes(160, 20, QImage::Format_ARGB32);
    stripes.fill(QColor::fromRgba(kBlack));
    for (int x = 0; x < 160; x += 8) {
        for (int y = 0; y < 20; ++y) stripes.setPixel(x, y, kWhite);
    }
    const std::string path = folder.path() + "/stripes.png";
    stripes.save(QString::fromStdString(path));
    context().drawImage(*Image::fromFile(files, path), {0, 0, 20, 20});
    const QImage image = drawn();
    for (int x = 1; x < 19; ++x) EXPECT_NEAR(qRed(image.pixel(x, 50)), 255 / 8, 16) << x;
}

TEST_F(Drawing, APictureWithoutPixelsDrawsNothing) {
    context().drawImage(Image(folder.path() + "/none.png"), {0, 0, 20, 10});
    EXPECT_EQ(columns(drawn()), std::pair(200, -1));
}

TEST_F(Drawing, ATextStandsAtItsPoint) {
    context().drawText("H", {20, 20}, kWhiteText);
    const auto [first, last] = columns(drawn());
    EXPECT_GE(first, 20);
    EXPECT_LE(first, 23);
    EXPECT_LT(last, 40);
}

TEST_F(Drawing, ATextThatIsTooLongIsTruncatedInsideItsRectangle) {
    const std::string text = "A title that is much longer than its line";
    context().drawText(text, {20, 20, 100, 20}, kTextTruncatesLastVisibleLine, kWhiteText);
    EXPECT_LE(columns(drawn()).second, 120);
}

TEST_F(Drawing, NoRoomNoText) {
    context().drawText("Title", {20, 20, -5, 20}, kTextTruncatesLastVisibleLine, kWhiteText);
    EXPECT_EQ(columns(drawn()), std::pair(200, -1));
}

TEST_F(Drawing, FromRightToLeftTheDrawingIsMirroredButNotItsPictures) {
    context(Qt::RightToLeft).drawImage(*picture("half"), {100, 10, 40, 20});
    const QImage image = drawn();
    EXPECT_EQ(columns(image), std::pair(60, 99));
    EXPECT_EQ(image.pixel(65, 40), kRed);
    EXPECT_EQ(image.pixel(95, 40), kBlue);
}

TEST_F(Drawing, FromRightToLeftATextBeginsAtTheRight) {
    context(Qt::RightToLeft).drawText("H", {20, 20, 150, 20}, 0, kWhiteText);
    const auto [first, last] = columns(drawn());
    EXPECT_GT(first, 160);
    EXPECT_LE(last, 180);
}

}  // namespace
}  // namespace quillmore::platform
