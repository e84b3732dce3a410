#include "UpdateTool/Packages/Xml.h"

#include <gtest/gtest.h>

namespace quillmore::tests {
namespace {

using updatetool::parseXml;
using updatetool::XmlElement;

std::string nested(int depth) {
    std::string open, close;
    for (int level = 0; level < depth; ++level) {
        open += "<a>";
        close += "</a>";
    }
    return open + close;
}

TEST(Xml, ElementsAttributesAndTextAreRead) {
    const auto document = parseXml("<a one = '1' two=\"'\"> x <b>y</b> z <b/><c>w</c></a>");
    ASSERT_TRUE(document.has_value());
    EXPECT_EQ(document->name, "a");
    EXPECT_EQ(document->attribute("one") + document->attribute("two"), "1'");
    EXPECT_EQ(document->attribute("none"), "");
    EXPECT_EQ(document->text, " x  z ");
    ASSERT_EQ(document->children.size(), 3u);
    EXPECT_EQ(document->textOf("b") + document->textOf("c") + document->textOf("none"), "yw");
    EXPECT_EQ(document->child("none"), nullptr);
}
TEST(Xml, WellFormedDocumentsAreTaken) {
    for (const char* text :
         {"<a/>", "<a></a>", "\xef\xbb\xbf<a/>", " <?xml version='1.0'?>\n<!-- c --><a/>\t\r\n",
          "<!DOCTYPE a><a/>", "<!DOCTYPE plist PUBLIC \"-//x\" \"http://y\"><a/>", "<a />",
          "<a></a >", "<a.b-c:d_1/>", "<\xc3\xa4/>", "<a><!-- <b> --><?p <b>?></a>", "<a b=''/>",
          "<a/><!-- c --><?p?>", "<a>></a>", "<a b='>'/>"})
        EXPECT_TRUE(parseXml(text).has_value()) << text;
}
TEST(Xml, DocumentsThatAreNotWellFormedAreRefused) {
    for (const char* text : {"",
                             " ",
                             "x",
                             "<",
                             "<a",
                             "<a>",
                             "<a/",
                             "</a>",
                             "< a/>",
                             "<a><b></a></b>",
                             "<a></b>",
                             "<a></a",
                             "<a></a x>",
                             "<a/><b/>",
                             "<a/>x",
                             "x<a/>",
                             "<a b/>",
                             "<a b=/>",
                             "<a b=c/>",
                             "<a b='c/>",
                             "<a b='<'/>",
                             "<a b=\"c'/>",
                             "<a ='c'/>",
                             "<a><!-- </a>",
                             "<a><?p </a>",
                             "<a><![CDATA[</a>",
                             "<!-- <a/>",
                             "<!DOCTYPE a",
                             "<a><!DOCTYPE a></a>",
                             "<a><></a>",
                             "<a><!x></a>",
                             "<a>&</a>",
                             "<a>&lt</a>",
                             "<a b='&'/>",
                             "<a b='&x;'/>"})
        EXPECT_FALSE(parseXml(text).has_value()) << text;
}
TEST(Xml, DocumentThatDeclaresSomethingIsRefused) {
    EXPECT_FALSE(parseXml("<!DOCTYPE a [<!ENTITY b 'c'>]><a/>").has_value());
    EXPECT_FALSE(parseXml("<!DOCTYPE a [ ]><a/>").has_value());
}
TEST(Xml, EntitiesOfXmlItselfAreKnownAndNoOthers) {
    EXPECT_EQ(parseXml("<a>&amp;&lt;&gt;&quot;&apos;&amp;lt;</a>")->text, "&<>\"'&lt;");
    for (const char* entity :
         {"&nbsp;", "&AMP;", "&;", "&am;", "&ampx;", "& amp;", "&a65;", "&x41;"})
        EXPECT_FALSE(parseXml("<a>" + std::string(entity) + "</a>").has_value()) << entity;
}
TEST(Xml, NumberedCharactersBecomeUtf8) {
    const std::pair<const char*, const char*> table[] = {{"&#65;", "A"},
                                                         {"&#x41;", "A"},
                                                         {"&#1;", "\x01"},
                                                         {"&#x7f;", "\x7f"},
                                                         {"&#x80;", "\xc2\x80"},
                                                         {"&#x7ff;", "\xdf\xbf"},
                                                         {"&#x800;", "\xe0\xa0\x80"},
                                                         {"&#xd7ff;", "\xed\x9f\xbf"},
                                                         {"&#xe000;", "\xee\x80\x80"},
                                                         {"&#xffff;", "\xef\xbf\xbf"},
                                                         {"&#x10000;", "\xf0\x90\x80\x80"},
                                                         {"&#x10ffff;", "\xf4\x8f\xbf\xbf"},
                                                         {"&#x20AC;", "\xe2\x82\xac"}};
    for (const auto& [entity, expected] : table)
        EXPECT_EQ(parseXml("<a>" + std::string(entity) + "</a>").value_or(XmlElement{}).text,
                  expected)
            << entity;
}
TEST(Xml, NumbersThatAreNoCharactersAreRefused) {
    for (const char* entity : {"&#0;", "&#;", "&#x;", "&#xg;", "&#12x;", "&#-1;", "&#xd800;",
                               "&#xdfff;", "&#x110000;", "&#4294967361;", "&#X41;"})
        EXPECT_FALSE(parseXml("<a>" + std::string(entity) + "</a>").has_value()) << entity;
}
TEST(Xml, CharacterDataIsTakenAsItIs) {
    EXPECT_EQ(parseXml("<a>x<![CDATA[<b>&amp;]]>y</a>")->text, "x<b>&amp;y");
}
TEST(Xml, DocumentIs65ElementsDeepAtMost) {
    EXPECT_TRUE(parseXml(nested(65)).has_value());
    EXPECT_FALSE(parseXml(nested(66)).has_value());
}
TEST(Xml, DocumentHas200000ElementsAtMost) {
    std::string children;
    for (int count = 0; count < 199'999; ++count) children += "<b/>";
    EXPECT_TRUE(parseXml("<a>" + children + "</a>").has_value());
    EXPECT_FALSE(parseXml("<a>" + children + "<b/></a>").has_value());
}

}  // namespace
}  // namespace quillmore::tests
