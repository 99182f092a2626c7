// MOF text: what is read, and what is refused with which message.
#include "refhost/schema/mof_parser.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "plugin/host/tal_exception.h"
#include "refhost/api/reference_host.h"

namespace {

using refhost::MofDocument;
using refhost::MofLiteral;
using refhost::parseMof;

std::string refusalOf(const std::string& text) {
    try {
        (void)parseMof(text, "t.mof");
    } catch (const NVEXTAL20::TTALException& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(MofParser, ReadsAClassWithItsProperties) {
    const MofDocument document = parseMof(
        "[Abstract, Version(\"1.0\")] class A : B {\n"
        "  [Key] string Name; uint64 Sizes[]; sint8 Few[4]; C REF Other;\n"
        "};",
        "t.mof");
    ASSERT_EQ(document.classes.size(), 1u);
    const refhost::MofClass& read = document.classes[0];
    EXPECT_EQ(read.name, "A");
    EXPECT_EQ(read.superclass, "B");
    EXPECT_EQ(read.line, 1u);
    ASSERT_EQ(read.qualifiers.size(), 2u);
    EXPECT_FALSE(read.qualifiers[0].hasValue);
    EXPECT_EQ(read.qualifiers[1].value.elements[0].text, "1.0");
    ASSERT_EQ(read.properties.size(), 4u);
    EXPECT_EQ(read.properties[0].type, "string");
    EXPECT_EQ(read.properties[0].line, 2u);
    EXPECT_FALSE(read.properties[0].isArray);
    EXPECT_TRUE(read.properties[1].isArray);
    EXPECT_TRUE(read.properties[2].isArray);
    EXPECT_EQ(read.properties[3].type, "reference");
    EXPECT_EQ(read.properties[3].referenceClass, "C");
    EXPECT_EQ(read.properties[3].name, "Other");
}

TEST(MofParser, IgnoresTheCaseOfKeyWordsAndTypes) {
    const MofDocument document = parseMof("CLASS A { UINT8 n; B Ref r; boolean b = TRUE; };", "t.mof");
    EXPECT_EQ(document.classes[0].properties[0].type, "uint8");
    EXPECT_EQ(document.classes[0].properties[1].type, "reference");
}

TEST(MofParser, ReadsQualifierDeclarations) {
    const MofDocument document = parseMof(
        "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);\n"
        "qualifier ValueMap : string[], scope(any);\n"
        "Qualifier Max : uint32 = null, Scope(property);",
        "t.mof");
    EXPECT_EQ(document.qualifierNames, (std::vector<std::string>{"Key", "ValueMap", "Max"}));
}

TEST(MofParser, SkipsCommentsAndPragmaLines) {
    const MofDocument document = parseMof(
        "#pragma namespace (\"root/cimv2\")\n// class X {}; \n/* class Y \n {}; **/ class A /*in*/ { // end\n };",
        "t.mof");
    ASSERT_EQ(document.classes.size(), 1u);
    EXPECT_EQ(document.classes[0].line, 4u);
}

TEST(MofParser, JoinsStringsAndUndoesEscapes) {
    const MofDocument document = parseMof(
        "[Description(\"one \" /*and*/ \"two\\n\\t\\\"\\\\\\'\"\n \"\\x41\\xE4\\x20AC\")] class A {};", "t.mof");
    EXPECT_EQ(document.classes[0].qualifiers[0].value.elements[0].text, "one two\n\t\"\\'A\xC3\xA4\xE2\x82\xAC");
}

TEST(MofParser, ReadsListsOfValues) {
    const MofDocument document =
        parseMof("[ValueMap{\"0\", \"1\"}, Values({\"a\", null, true, 5, 'c'}), None{}] class A {};", "t.mof");
    const auto& qualifiers = document.classes[0].qualifiers;
    EXPECT_TRUE(qualifiers[0].value.isArray);
    EXPECT_EQ(qualifiers[0].value.elements.size(), 2u);
    ASSERT_EQ(qualifiers[1].value.elements.size(), 5u);
    EXPECT_EQ(qualifiers[1].value.elements[1].kind, MofLiteral::Kind::kNull);
    EXPECT_EQ(qualifiers[1].value.elements[2].kind, MofLiteral::Kind::kBoolean);
    EXPECT_EQ(qualifiers[1].value.elements[3].kind, MofLiteral::Kind::kNumber);
    EXPECT_EQ(qualifiers[1].value.elements[4].kind, MofLiteral::Kind::kCharacter);
    EXPECT_TRUE(qualifiers[2].value.elements.empty());
}

TEST(MofParser, ReadsDefaultsAndFlavorsAndLeavesThemOut) {
    const MofDocument document = parseMof(
        "[Key : DisableOverride ToSubclass] class A { string s = \"x\"; real64 r = -1.5e+3; uint8 h = 0xFF;"
        " uint8 b = 101b; string a[] = {\"x\", \"y\"}; B REF o = null; };",
        "t.mof");
    EXPECT_EQ(document.classes[0].properties.size(), 6u);
}

TEST(MofParser, ReadsTheHostsOwnSchema) {
    const MofDocument base = parseMof(refhost::ReferenceHost::baseMof(), "base.mof");
    EXPECT_EQ(base.qualifierNames.size(), 12u);
    EXPECT_EQ(base.classes.size(), 14u);
    EXPECT_EQ(parseMof(refhost::ReferenceHost::vendorMof(), "vexsg.mof").classes.size(), 19u);
}

TEST(MofParser, EmptyTextDeclaresNothing) { EXPECT_TRUE(parseMof("", "t.mof").classes.empty()); }

struct Bad {
    const char* label;
    const char* text;
    const char* complaint;
};
class BadMof : public ::testing::TestWithParam<Bad> {};
TEST_P(BadMof, IsRefusedWithItsLine) { EXPECT_EQ(refusalOf(GetParam().text), GetParam().complaint); }

INSTANTIATE_TEST_SUITE_P(
    Texts, BadMof,
    ::testing::Values(
        Bad{"open_comment", "\n/* x", "t.mof, line 2: the comment that begins here has no end"},
        Bad{"open_string", "[D(\"x)] class A {};",
            "t.mof, line 1: the text that begins here has no closing quote on its line"},
        Bad{"string_over_two_lines", "\n[D(\"x\ny\")] class A {};",
            "t.mof, line 2: the text that begins here has no closing quote on its line"},
        Bad{"backslash_at_the_end", "[D(\"\\",
            "t.mof, line 1: the text that begins here has no closing quote on its line"},
        Bad{"unknown_escape", "[D(\"\\q\")]", "t.mof, line 1: unknown escape: a backslash before 'q'"},
        Bad{"escape_without_digits", "[D(\"\\xg\")]", "t.mof, line 1: \\x without a hexadecimal digit"},
        Bad{"escaped_surrogate", "[D(\"\\xD800\")]", "t.mof, line 1: the escape names half of a surrogate pair"},
        Bad{"character_of_two", "[D('ab')]", "t.mof, line 1: single quotes hold exactly one character"},
        Bad{"number_with_letters", "[D(12q)]", "t.mof, line 1: \"12q\" is no number"},
        Bad{"sign_alone", "[D(-)]", "t.mof, line 1: \"-\" is no number"},
        Bad{"stray_byte", "class A\x01", "t.mof, line 1: the byte 1 has no meaning here"},
        Bad{"stray_mark", "class A @", "t.mof, line 1: '@' has no meaning here"},
        Bad{"half_a_comment", "class A /", "t.mof, line 1: '/' has no meaning here"},
        Bad{"instance", "instance of A {};",
            "t.mof, line 1: expected a class or qualifier declaration, found \"instance\""},
        Bad{"class_without_name", "class {};", "t.mof, line 1: expected the class's name, found \"{\""},
        Bad{"class_without_superclass", "class A : {};", "t.mof, line 1: expected the superclass's name, found \"{\""},
        Bad{"class_without_body", "class A;", "t.mof, line 1: expected '{', found \";\""},
        Bad{"class_without_end", "class A {\n\n",
            "t.mof, line 3: expected a property's type, found the end of the text"},
        Bad{"class_without_semicolon", "class A {}", "t.mof, line 1: expected ';', found the end of the text"},
        Bad{"unknown_type", "class A {\nuint128 n; };",
            "t.mof, line 2: there is no type \"uint128\", and no REF follows it"},
        Bad{"reference_as_a_type", "class A { reference n; };",
            "t.mof, line 1: there is no type \"reference\", and no REF follows it"},
        Bad{"method", "class A { uint32 Reset(); };", "t.mof, line 1: methods are not supported: \"Reset\""},
        Bad{"property_without_name", "class A { string; };",
            "t.mof, line 1: expected the property's name, found \";\""},
        Bad{"property_without_semicolon", "class A { string s }", "t.mof, line 1: expected ';', found \"}\""},
        Bad{"array_without_end", "class A { string s[; };", "t.mof, line 1: expected ']', found \";\""},
        Bad{"default_without_value", "class A { string s = ; };", "t.mof, line 1: expected a value, found \";\""},
        Bad{"nested_lists", "class A { string s = {{\"x\"}}; };", "t.mof, line 1: expected a value, found \"{\""},
        Bad{"open_list", "[V{\"x\"", "t.mof, line 1: expected '}', found the end of the text"},
        Bad{"open_qualifiers", "[Key class A {};", "t.mof, line 1: expected ']', found \"class\""},
        Bad{"empty_qualifiers", "[] class A {};", "t.mof, line 1: expected a qualifier's name, found \"]\""},
        Bad{"qualifier_of_no_type", "Qualifier K : thing, Scope(any);", "t.mof, line 1: there is no type \"thing\""},
        Bad{"qualifier_without_scope", "Qualifier K : string, Flavor(ToSubclass);",
            "t.mof, line 1: expected scope, found \"Flavor\""}),
    [](const auto& row) { return row.param.label; });

TEST(MofParser, CutAnywhereIsReadOrRefusedWithALine) {
    const std::string whole = refhost::ReferenceHost::vendorMof();
    for (std::size_t length = 0; length <= whole.size(); length += 7) {
        const std::string outcome = refusalOf(whole.substr(0, length));
        EXPECT_TRUE(outcome == "accepted" || outcome.rfind("t.mof, line ", 0) == 0) << length << ": " << outcome;
    }
}

TEST(MofParser, AnyBytesAreReadOrRefusedWithALine) {
    EXPECT_TRUE(rc::check("no other outcome", [](const std::string& text) {
        const std::string outcome = refusalOf(text);
        RC_ASSERT(outcome == "accepted" || outcome.rfind("t.mof, line ", 0) == 0);
    }));
}

TEST(MofParser, AnyOrderOfTokensIsReadOrRefusedWithALine) {
    const auto token =
        rc::gen::element<std::string>("class", "A", ":", "{", "}", ";", "[", "]", "(", ")", "Qualifier", "string",
                                      "REF", ",", "=", "\"t\"", "1", "null", "Scope", "/*", "*/");
    EXPECT_TRUE(rc::check("no other outcome", [&token] {
        std::string text;
        for (const std::string& one : *rc::gen::container<std::vector<std::string>>(token)) text += one + " ";
        const std::string outcome = refusalOf(text);
        RC_ASSERT(outcome == "accepted" || outcome.rfind("t.mof, line ", 0) == 0);
    }));
}

TEST(MofParser, DeepBracketsAreRefusedWithoutRecursion) {
    EXPECT_NE(refusalOf("class A { string s = " + std::string(1'000'000, '{')), "accepted");
    EXPECT_NE(refusalOf(std::string(1'000'000, '[')), "accepted");
}

}  // namespace
