#include "Common/BrandingManager.h"
#include "Common/QuillmoreHeaderView.h"
#include "Platform/Interface/Outlets.h"
#include "tests/fakes/TestPictures.h"
#include "tests/fakes/TestServices.h"

namespace quillmore::tests {
namespace {

class BrandingLogo : public testing::Test {
protected:
    BrandingLogo() {
        services.makeResource("logo-1.bmp", bitmapFile(1, 1));
        services.makeResource("logo-15.bmp", bitmapFile(15, 1));
    }
    /// Width of the chosen logo, which tells the pictures apart.
    double widthFor(std::int32_t brand) {
        const auto image = BrandingManager::sharedManager().getBrandedLogoImageForBrandID(brand);
        return image ? image->size().width : -1;
    }
    void makeUsersLogo(std::int32_t brand, const std::string& bytes) {
        services.makeFile(std::string(kTestHome) + "/Library/Application Support/Quillmore/logo-" +
                              std::to_string(brand) + ".bmp",
                          bytes);
    }
    void setLastUsersBrand(std::int32_t brand) {
        services.defaults->setObject("LastUsedUserName", "jo");
        services.defaults->setObject("UserList", platform::Array{platform::Dictionary{
                                                     {"UserName", "jo"}, {"BrandID", brand}}});
    }
    TestServices services;
    CapturedOutput output;
};

TEST_F(BrandingLogo, UsersOwnFileComesFirst) {
    makeUsersLogo(7, bitmapFile(70, 1));
    makeUsersLogo(15, bitmapFile(71, 1));
    EXPECT_EQ(widthFor(7), 70);
    EXPECT_EQ(widthFor(15), 71);
}

TEST_F(BrandingLogo, BrandFifteenWithoutAUsersFileHasTheApplicationsOwn) {
    EXPECT_EQ(widthFor(15), 15);
}

TEST_F(BrandingLogo, EveryOtherBrandWithoutAUsersFileHasTheStandardOne) {
    services.makeResource("logo-7.bmp", bitmapFile(7, 1));
    for (const std::int32_t brand : {7, 1, 0, -1, 10001, 20000})
        EXPECT_EQ(widthFor(brand), 1) << brand;
}

TEST_F(BrandingLogo, ApplicationsOwnLogoOfAnyBrandButFifteenIsNotLookedFor) {
    for (const std::int32_t brand : {14, 16, 20, 10000, 10001}) {
        services.makeResource("logo-" + std::to_string(brand) + ".bmp", bitmapFile(99, 1));
        EXPECT_EQ(widthFor(brand), 1) << brand;
    }
}

TEST_F(BrandingLogo, UsersOwnFileCountsOnBothSidesOfTheFirstReseller) {
    for (const std::int32_t brand : {10000, 10001}) {
        makeUsersLogo(brand, bitmapFile(70, 1));
        EXPECT_EQ(widthFor(brand), 70) << brand;
    }
}

TEST_F(BrandingLogo, UnreadableUsersFileFallsBackToTheStandardOne) {
    makeUsersLogo(7, "no picture");
    makeUsersLogo(15, "");
    EXPECT_EQ(widthFor(7), 1);
    EXPECT_EQ(widthFor(15), 1);
}

TEST_F(BrandingLogo, UnreadableOwnLogoOfBrandFifteenFallsBackToTheStandardOne) {
    services.makeResource("logo-15.bmp", std::string("no picture"));
    EXPECT_EQ(widthFor(15), 1);
}

TEST_F(BrandingLogo, LastUsersBrandDecides) {
    setLastUsersBrand(15);
    EXPECT_EQ(BrandingManager::sharedManager().getBrandedLogoImage()->size().width, 15);
}

TEST_F(BrandingLogo, ViewsGetTheLogo) {
    setLastUsersBrand(15);
    platform::ImageView imageView("logo");
    QuillmoreHeaderView headerView("header");
    BrandingManager::sharedManager().setBrandedLogoImage(imageView);
    BrandingManager::sharedManager().setHeaderViewBrandedLogoImage(headerView);
    EXPECT_EQ(imageView.image()->size().width, 15);
    EXPECT_EQ(headerView.logo()->size().width, 15);
}

TEST(BrandingLogoWithoutPictures, ViewsKeepWhatTheyHave) {
    const TestServices services;
    platform::ImageView imageView("logo");
    services.makeFile("/a.bmp", bitmapFile(3, 3));
    imageView.setImage(platform::Image::fromFile(services.files, "/a.bmp"));
    QuillmoreHeaderView headerView("header");
    headerView.setLogoImage(imageView.image());
    BrandingManager::sharedManager().setBrandedLogoImage(imageView);
    BrandingManager::sharedManager().setHeaderViewBrandedLogoImage(headerView);
    ASSERT_NE(imageView.image(), nullptr);
    EXPECT_EQ(imageView.image()->size().width, 3);
    EXPECT_EQ(headerView.logo(), imageView.image());
}

}  // namespace
}  // namespace quillmore::tests
