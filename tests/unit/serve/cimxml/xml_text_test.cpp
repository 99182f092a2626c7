// What the writer makes of any bytes.
#include "serve/cimxml/xml_text.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>
#include <pugixml.hpp>

namespace diskmgt::serve {
namespace {

std::string leafOf(const std::string& text) { return XmlWriter().leaf("VALUE", text).written(); }

TEST(XmlText, EscapesFourCharactersAndNoOther) {
    EXPECT_EQ(leafOf("a&b<c>d\"e'f\u00E4\t\n "), "<VALUE>a&amp;b&lt;c&gt;d&quot;e'f\u00E4\t\n </VALUE>");
}

TEST(XmlText, ReplacesWhatXmlForbids) {
    EXPECT_EQ(leafOf(std::string("\0\x01\x1F", 3)), "<VALUE>\uFFFD\uFFFD\uFFFD</VALUE>");
    EXPECT_EQ(leafOf("\uFFFE\uFFFF\uFFFD"), "<VALUE>\uFFFD\uFFFD\uFFFD</VALUE>");
    EXPECT_EQ(leafOf("\x7F\u0080\u009F\U0010FFFF"), "<VALUE>\x7F\u0080\u009F\U0010FFFF</VALUE>");
}

TEST(XmlText, ReplacesWhatIsNotUtf8) {
    EXPECT_EQ(leafOf("a\xFF\xFE"), "<VALUE>a\uFFFD\uFFFD</VALUE>");
    EXPECT_EQ(leafOf("\xC0\xAF"), "<VALUE>\uFFFD\uFFFD</VALUE>");                      // an overlong form
    EXPECT_EQ(leafOf("\xED\xA0\x80"), "<VALUE>\uFFFD\uFFFD\uFFFD</VALUE>");            // a surrogate
    EXPECT_EQ(leafOf("\xE2\x82"), "<VALUE>\uFFFD</VALUE>");                            // cut short
    EXPECT_EQ(leafOf("\xF4\x90\x80\x80"), "<VALUE>\uFFFD\uFFFD\uFFFD\uFFFD</VALUE>");  // past the last character
}

TEST(XmlText, AnEmptyElementHasAnEndTagUnlessItsShortFormIsAskedFor) {
    EXPECT_EQ(leafOf(""), "<VALUE></VALUE>");
    EXPECT_EQ(XmlWriter().begin("PROPERTY", {{"NAME", "a"}}).end("PROPERTY").written(),
              "<PROPERTY NAME=\"a\"></PROPERTY>");
    EXPECT_EQ(XmlWriter().shortForm("CLASSNAME", {{"NAME", "a"}}).written(), "<CLASSNAME NAME=\"a\"/>");
}

TEST(XmlText, AttributesAreEscapedOnOneLineAndLeftOutWhenEmpty) {
    EXPECT_EQ(XmlWriter().begin("A", {{"B", "a\"<&>\n\t\r\x01"}, {"C", ""}}).written(),
              "<A B=\"a&quot;&lt;&amp;&gt;   \uFFFD\">");
}

RC_GTEST_PROP(XmlText, AnyBytesAreReadAsTheReaderIsExpectedTo, (const std::string& bytes)) {
    const std::string written = leafOf(bytes);
    RC_ASSERT(isXmlText(written));
    pugi::xml_document document;
    RC_ASSERT(
        static_cast<bool>(document.load_string(written.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single)));
    RC_ASSERT(document.child("VALUE").child_value() == asReadFromXml(bytes));
}

}  // namespace
}  // namespace diskmgt::serve
