#include "Common/QuillmoreHeaderView.h"

#include "tests/Common/LogTest.h"

namespace quillmore::tests {
namespace {

using HeaderView = LogTest;

/// How often a view asks to be drawn again.
struct Redraws {
    explicit Redraws(platform::View& view) {
        view.setObserver([this] { ++count; });
    }
    int count = 0;
};

TEST_F(HeaderView, TitleStartsAsTheProductsName) {
    services.makeResource("en.lproj/Localizable.strings",
                          std::string("\"ProductName\" = \"Acme\";"));
    const QuillmoreHeaderView view("checkHeaderView");
    EXPECT_EQ(view.title(), "Acme");
    EXPECT_EQ(view.name(), "checkHeaderView");
}

TEST_F(HeaderView, SwitchesStartAsVisibleStandardBranding) {
    const QuillmoreHeaderView view("checkHeaderView");
    EXPECT_FALSE(view.usesGenericBranding());
    EXPECT_FALSE(view.usesWelcomeBranding());
    EXPECT_TRUE(view.visible());
}

TEST_F(HeaderView, NewTitleAlwaysAsksForARedraw) {
    QuillmoreHeaderView view("checkHeaderView");
    const Redraws redraws(view);
    view.setTitle("Title");
    view.setTitle("Title");
    EXPECT_EQ(view.title(), "Title");
    EXPECT_EQ(redraws.count, 2);
}

TEST_F(HeaderView, SwitchesAreStoredWithoutARedraw) {
    QuillmoreHeaderView view("checkHeaderView");
    const Redraws redraws(view);
    view.setUseGenericBranding(true);
    view.setUseWelcomeBranding(true);
    view.setVisible(false);
    EXPECT_TRUE(view.usesGenericBranding());
    EXPECT_TRUE(view.usesWelcomeBranding());
    EXPECT_FALSE(view.visible());
    EXPECT_EQ(redraws.count, 0);
}

}  // namespace
}  // namespace quillmore::tests
