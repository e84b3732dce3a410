#include "Platform/Interface/Image.h"

#include "tests/fakes/TestPictures.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

using platform::Image;
using platform::Size;

class ImageTest : public testing::Test {
protected:
    TestServices services;
    platform::ImageReference load(const std::string& path) {
        return Image::fromFile(services.files, path);
    }
};

TEST_F(ImageTest, BitmapIsDecodedWithItsSizeAndColour) {
    services.makeFile("/a.bmp", bitmapFile(40, 25, 200, 100, 50));
    const auto image = load("/a.bmp");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{40, 25}));
    const platform::Pixels& pixels = image->pixels();
    ASSERT_EQ(pixels.rgba.size(), 40U * 25U * 4U);
    EXPECT_EQ((std::vector<int>(pixels.rgba.begin(), pixels.rgba.begin() + 4)),
              (std::vector<int>{200, 100, 50, 255}));
}

TEST_F(ImageTest, MissingFileGivesNoImage) {
    EXPECT_EQ(load("/none.bmp"), nullptr);
}

TEST_F(ImageTest, DamagedFilesGiveNoImage) {
    services.makeFile("/empty.bmp", "");
    services.makeFile("/text.bmp", "this is no picture");
    services.makeFile("/huge.bmp",
                      bitmapFile(1, 1).replace(18, 4, std::string("\xff\xff\xff\x7f")));
    services.makeFile("/cut.png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    services.makeFolder("/folder.bmp");
    for (const char* path : {"/empty.bmp", "/text.bmp", "/huge.bmp", "/cut.png", "/folder.bmp"}) {
        EXPECT_EQ(load(path), nullptr) << path;
    }
}

TEST_F(ImageTest, NamedImageOfTheBundleIsDecodedWhenUsed) {
    services.makeResource("logo-1.bmp", bitmapFile(3, 2));
    const auto image = Image::named(services.files, *services.bundle, "logo-1.bmp");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{3, 2}));
}

TEST_F(ImageTest, NameThatTheBundleLacksGivesNoImage) {
    EXPECT_EQ(Image::named(services.files, *services.bundle, "logo-7.bmp"), nullptr);
}

TEST_F(ImageTest, NamedImageThatCannotBeDecodedHasNoSize) {
    services.makeResource("logo-1.bmp", std::string("no picture"));
    const auto image = Image::named(services.files, *services.bundle, "logo-1.bmp");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->size(), (Size{0, 0}));
    EXPECT_TRUE(image->pixels(2).rgba.empty());
}

TEST_F(ImageTest, DoubleDensityPictureIsTakenFromBesideTheFile) {
    services.makeFile("/a.bmp", bitmapFile(10, 5));
    services.makeFile("/a@2x.bmp", bitmapFile(20, 10));
    const auto image = load("/a.bmp");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixels(2).width, 20);
    EXPECT_EQ(image->size(), (Size{10, 5}));
}

TEST_F(ImageTest, WithoutADoubleDensityPictureTheOrdinaryOneServes) {
    services.makeFile("/a.bmp", bitmapFile(10, 5));
    const auto image = load("/a.bmp");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixels(2).width, 10);
}

}  // namespace
}  // namespace quillmore::tests
