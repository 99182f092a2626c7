// Further classes that a host is given as text: what they become, and what is refused because it would cost too much.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace {

using refhost::ReferenceHost;
using refhost::SchemaText;

refhost::HostOptions optionsWith(std::vector<SchemaText> texts) {
    refhost::HostOptions options;
    options.schemaTexts = std::move(texts);
    return options;
}

std::string refusalOf(const std::vector<SchemaText>& texts) {
    try {
        const ReferenceHost host(optionsWith(texts));
    } catch (const refhost::SchemaError& refusal) {
        return refusal.what();
    }
    return "accepted";
}

std::string refusalOf(const std::string& text) { return refusalOf(std::vector<SchemaText>{{"my.mof", text}}); }

std::string repeated(std::size_t times, const std::string& begin, const std::string& end) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i) text += begin + std::to_string(i) + end;
    return text;
}

TEST(FurtherSchema, ClassesFollowTheBuiltInOnesAndMayDeriveFromThem) {
    const ReferenceHost host(
        optionsWith({{"a.mof", "class MY_Disk : VEXSG_DiskDrive { [PUnit(\"byte\")] uint64 Cache; };"},
                     {"b.mof", "class MY_Other : MY_Disk { };"}}));
    EXPECT_EQ(host.classes()[host.classes().size() - 2].name, "MY_Disk");
    EXPECT_EQ(host.classes().back().name, "MY_Other");
    const refhost::ClassDeclaration& other = *host.findClass("MY_Other");
    const auto named = [&other](const std::string& name) {
        return std::any_of(other.properties.begin(), other.properties.end(),
                           [&name](const auto& property) { return property.name == name; });
    };
    EXPECT_TRUE(named("Cache") && named("DeviceID"));
}

TEST(FurtherSchema, HostWorksAfterOneWasRefused) {
    EXPECT_EQ(refusalOf("class VEXSG_DiskDrive { };"),
              "my.mof, line 1: the class \"VEXSG_DiskDrive\" is already declared");
    const ReferenceHost host(optionsWith({{"my.mof", "class MY_Disk { };"}}));
    EXPECT_NE(host.findClass("MY_Disk"), nullptr);
}

TEST(FurtherSchema, RefusalNamesTheTextThatIsWrong) {
    EXPECT_EQ(refusalOf({{"a.mof", "class MY_A { };"}, {"b.mof", "\nclass MY_A { };"}}),
              "b.mof, line 2: the class \"MY_A\" is already declared");
}

TEST(FurtherSchema, BuiltInTextsStayAsTheyAre) {
    const std::string before = ReferenceHost::vendorMof();
    const ReferenceHost host(optionsWith({{"my.mof", "class MY_Disk { };"}}));
    EXPECT_EQ(ReferenceHost::vendorMof(), before);
}

TEST(FurtherSchema, TextHasAGreatestLength) {
    std::string text = "class MY_Disk { };";
    text.resize(SchemaText::kLongest, ' ');
    EXPECT_EQ(refusalOf(text), "accepted");
    EXPECT_EQ(refusalOf(text + " "), "my.mof has more than 1 MiB");
}

TEST(FurtherSchema, NameHasAGreatestLength) {
    EXPECT_EQ(refusalOf("class " + std::string(255, 'x') + " { };"), "accepted");
    EXPECT_EQ(refusalOf("class\n" + std::string(256, 'x') + " { };"),
              "my.mof, line 2: a name has more than 255 characters");
}

TEST(FurtherSchema, ClassHasAGreatestNumberOfProperties) {
    const std::string most = "class A {" + repeated(1000, "uint8 p", ";") + "};";
    EXPECT_EQ(refusalOf(most), "accepted");
    EXPECT_EQ(refusalOf(most + "\nclass B : A { uint8 q; };"), "my.mof, line 2: the class has too many properties");
}

TEST(FurtherSchema, AllClassesHaveAGreatestNumberOfProperties) {
    EXPECT_EQ(refusalOf("class A {" + repeated(1000, "uint8 p", ";") + "};\n" + repeated(101, "class B", " : A { };")),
              "my.mof, line 2: the classes have too many properties");
}

TEST(FurtherSchema, InheritedTextsHaveAGreatestSize) {
    const std::string described = "class A { [Description(\"" + std::string(1 << 19, 'x') + "\")] uint8 p; };\n";
    EXPECT_EQ(refusalOf(described + repeated(100, "class B", " : A { };")), "accepted");
    EXPECT_EQ(refusalOf(described + repeated(200, "class B", " : A { };")),
              "my.mof, line 2: the classes have too many texts");
}

TEST(FurtherSchema, ManyReferencesAreResolvedInOnePass) {
    const std::string text = "class A {" + repeated(1000, "b REF p", ";") + "};" + repeated(90, "class C", " : A { };");
    const ReferenceHost host(optionsWith({{"my.mof", text + "class B { };"}}));
    for (const auto& property : host.findClass("C89")->properties) ASSERT_EQ(property.referenceClass, "B");
}

TEST(FurtherSchema, LongReasonIsCutBetweenCharacters) {
    std::string quoted = "x";
    for (int i = 0; i < 1000; ++i) quoted += "\xC3\xA4";
    for (const std::string& text : {quoted, quoted.substr(1)}) {
        const std::string refusal = refusalOf("class A { string \"" + text + "\"; };");
        EXPECT_LE(refusal.size(), 330u);
        ASSERT_GT(refusal.size(), 5u);
        EXPECT_EQ(refusal.substr(refusal.size() - 5), "\xC3\xA4...");
    }
}

}  // namespace
