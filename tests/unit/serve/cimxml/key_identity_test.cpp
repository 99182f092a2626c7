// Which names denote the same instance: by type, in any spelling.
#include "serve/cimxml/key_identity.h"

#include <gmock/gmock.h>

#include "serve/cimxml/cim_failure.h"
#include "tests/unit/serve/cimxml/served_scene.h"

namespace diskmgt::serve {
namespace {

using diskmgt_test::Answer;
using diskmgt_test::instanceOf;
using diskmgt_test::NamedValues;
using diskmgt_test::property;
using ::testing::ElementsAre;

struct ValueCase {
    const char* label;
    const char* type;
    const char* given;
    const char* canonical;  // null: no value of the type
};
void PrintTo(const ValueCase& row, std::ostream* out) { *out << row.label; }

class KeyValues : public ::testing::TestWithParam<ValueCase> {};

TEST_P(KeyValues, HaveOneForm) {
    const auto canonical = canonicalKeyValue(GetParam().type, GetParam().given);
    if (GetParam().canonical == nullptr)
        EXPECT_FALSE(canonical.has_value()) << *canonical;
    else
        EXPECT_EQ(canonical.value_or("(none)"), GetParam().canonical);
}

INSTANTIATE_TEST_SUITE_P(
    Types, KeyValues,
    ::testing::Values(
        ValueCase{"text_with_case_and_blanks", "string", " A b ", " A b "}, ValueCase{"empty_text", "string", "", ""},
        ValueCase{"not_utf8", "string", "bad\xFF", "bad\uFFFD"},
        ValueCase{"control", "string", "bell\x07", "bell\uFFFD"},
        ValueCase{"line_ends", "string", "a\r\nb\rc\nd", "a\nb\nc\nd"}, ValueCase{"truth", "boolean", "TRUE", "true"},
        ValueCase{"falsehood", "boolean", "False", "false"}, ValueCase{"no_truth", "boolean", "1", nullptr},
        ValueCase{"number", "uint64", "42", "42"}, ValueCase{"zeros", "uint16", "0042", "42"},
        ValueCase{"plus", "sint8", "+7", "7"}, ValueCase{"minus", "sint64", "-7", "-7"},
        ValueCase{"minus_zero", "sint64", "-0", "0"}, ValueCase{"hexadecimal", "uint32", "0x1F", "31"},
        ValueCase{"blanks", "uint32", " 5\n", "5"},
        ValueCase{"largest", "uint64", "18446744073709551615", "18446744073709551615"},
        ValueCase{"too_large", "uint64", "18446744073709551616", nullptr},
        ValueCase{"no_number", "uint32", "5x", nullptr}, ValueCase{"empty_number", "uint32", "", nullptr},
        ValueCase{"sign_alone", "sint32", "-", nullptr}, ValueCase{"two_signs", "sint32", "+-5", nullptr},
        ValueCase{"real", "real64", "1.50", "1.5"}, ValueCase{"real_exponent", "real64", "+15e-1", "1.5"},
        ValueCase{"real_minus_zero", "real32", "-0.0", "0"}, ValueCase{"real_nan", "real64", "nan", nullptr},
        ValueCase{"character", "char16", "\u20AC", "\u20AC"},
        ValueCase{"datetime", "datetime", "20260101120000.000000+000", "20260101120000.000000+000"}),
    [](const auto& row) { return row.param.label; });

/// Classes with keys of several types, which the real schema does not have.
class TypedKeys : public ::testing::Test {
protected:
    TypedKeys() : classes(declared()), store(classes, instances()) {}

    static std::vector<refhost::ClassDeclaration> declared() {
        refhost::ClassDeclaration thing;
        thing.name = "T_Thing";
        thing.properties = {property("Number", "uint32", true), property("Truth", "boolean", true),
                            property("Text", "string", true), property("Real", "real64", true)};
        refhost::ClassDeclaration link;
        link.name = "T_Link";
        link.isAssociation = true;
        link.properties = {property("From", "reference", true), property("To", "reference", true)};
        for (refhost::PropertyDeclaration& end : link.properties) end.referenceClass = "T_Thing";
        return {thing, link};
    }

    std::vector<refhost::Instance> instances() const {
        const refhost::Instance first =
            instanceOf(classes[0], {{"Number", "5"}, {"Truth", "true"}, {"Text", "5"}, {"Real", "1.5"}});
        const refhost::Instance second =
            instanceOf(classes[0], {{"Number", "6"}, {"Truth", "false"}, {"Text", "a\"b\\c"}, {"Real", "-2"}});
        return {first, second, instanceOf(classes[1], {{"From", first.path}, {"To", second.path}})};
    }

    Answer get(const std::string& markup) const {
        return Answer(answerCim(diskmgt_test::requestText("GetInstance", {{"InstanceName", markup}}), classes, &store,
                                "server1", ""));
    }
    static std::string key(const std::string& name, const std::string& kind, const std::string& text) {
        return "<KEYBINDING NAME=\"" + name + "\"><KEYVALUE" + (kind.empty() ? "" : " VALUETYPE=\"" + kind + "\"") +
               ">" + text + "</KEYVALUE></KEYBINDING>";
    }
    static std::string thing(const std::string& keys) {
        return "<INSTANCENAME CLASSNAME=\"T_Thing\">" + keys + "</INSTANCENAME>";
    }
    static std::string reference(const std::string& name, const std::string& target) {
        return "<KEYBINDING NAME=\"" + name + "\"><VALUE.REFERENCE>" + target + "</VALUE.REFERENCE></KEYBINDING>";
    }
    static std::string link(const std::string& from, const std::string& to) {
        return "<INSTANCENAME CLASSNAME=\"T_Link\">" + from + to + "</INSTANCENAME>";
    }
    const std::string one = thing(key("Number", "numeric", "5") + key("Truth", "boolean", "true") +
                                  key("Text", "string", "5") + key("Real", "numeric", "1.5"));
    const std::string other = thing(key("Number", "numeric", "6") + key("Truth", "boolean", "FALSE") +
                                    key("Text", "string", "a\"b\\c") + key("Real", "numeric", "-2"));

    const std::vector<refhost::ClassDeclaration> classes;
    const ObjectStore store;
};

TEST_F(TypedKeys, AreComparedByTheirValue) {
    EXPECT_EQ(get(one).error(), "");
    EXPECT_EQ(get(other).error(), "");
    EXPECT_EQ(get(thing(key("Number", "numeric", " 0x05 ") + key("Truth", "boolean", "TRUE") +
                        key("Text", "string", "5") + key("Real", "numeric", "15e-1")))
                  .error(),
              "");
}

TEST_F(TypedKeys, OfAnyTypeMayBeWrittenAsTexts) {
    EXPECT_EQ(
        get(thing(key("Number", "", "5") + key("Truth", "", "true") + key("Text", "", "5") + key("Real", "", "1.5")))
            .error(),
        "");
}

TEST_F(TypedKeys, ANumberIsNotATextOrATruth) {
    const std::string rest = key("Number", "numeric", "5") + key("Real", "numeric", "1.5");
    EXPECT_EQ(get(thing(rest + key("Truth", "boolean", "true") + key("Text", "numeric", "5"))).error(), "6");
    EXPECT_EQ(get(thing(rest + key("Truth", "numeric", "true") + key("Text", "string", "5"))).error(), "6");
}

TEST_F(TypedKeys, AValueThatIsNotOfItsTypeNamesNothing) {
    const Answer answer = get(thing(key("Number", "numeric", "five")));
    EXPECT_EQ(answer.error(), "6");
    EXPECT_EQ(answer.description(), "The value of key Number is not of its type, uint32.");
}

TEST_F(TypedKeys, AreWrittenWithTheirTypes) {
    const Answer answer(answerCim(
        diskmgt_test::requestText("EnumerateInstanceNames", {{"ClassName", diskmgt_test::classValue("T_Thing")}}),
        classes, &store, "server1", ""));
    EXPECT_THAT(answer.all("//INSTANCENAME[1]/KEYBINDING/@NAME"), ElementsAre("Number", "Real", "Text", "Truth"));
    EXPECT_THAT(answer.all("//INSTANCENAME[1]/KEYBINDING/KEYVALUE"), ElementsAre("5", "1.5", "5", "TRUE"));
    EXPECT_THAT(answer.all("//INSTANCENAME[1]//@VALUETYPE"), ElementsAre("numeric", "numeric", "string", "boolean"));
    EXPECT_THAT(answer.all("//INSTANCENAME[1]//@TYPE"), ElementsAre("uint32", "real64", "string", "boolean"));
}

TEST_F(TypedKeys, AReferenceMayBeGivenInXmlOrAsAPath) {
    const std::string place =
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"Root\"/><NAMESPACE NAME=\"cimv2\"/></LOCALNAMESPACEPATH>";
    const std::string local = "<LOCALINSTANCEPATH>" + place + one + "</LOCALINSTANCEPATH>";
    const std::string whole =
        "<INSTANCEPATH><NAMESPACEPATH><HOST>elsewhere:1</HOST>" + place + "</NAMESPACEPATH>" + one + "</INSTANCEPATH>";
    const std::string path = R"(T_Thing.Text="a\"b\\c",Number=6,Truth=false,Real="-2.0")";
    const std::string to = reference("To", other);
    for (const std::string& from : {one, local, whole})
        EXPECT_EQ(get(link(reference("From", from), to)).error(), "") << from;
    for (const char* const before : {"", "root/cimv2:", "//server1/ROOT/cimv2:", "http://server1:5988/root/cimv2:"})
        EXPECT_EQ(get(link(reference("From", one), key("To", "string", std::string(before) + path))).error(), "")
            << before;
    EXPECT_EQ(get(link(reference("From", other), reference("To", one))).error(), "6");
}

TEST_F(TypedKeys, AReferenceElsewhereOrToNothingNamesNoInstance) {
    EXPECT_EQ(get(link(reference("From", one), key("To", "string", "root/other:T_Thing.Number=6"))).error(), "6");
    EXPECT_EQ(get(link(reference("From", one), key("To", "string", "T_Nothing.Number=6"))).error(), "6");
    EXPECT_EQ(get(link(reference("From", one), key("To", "string", "T_Thing.Colour=6"))).error(), "6");
    EXPECT_EQ(get(link(reference("From", one), key("To", "string", "no path"))).error(), "6");
    EXPECT_EQ(get(link(reference("From", one), key("To", "numeric", "6"))).error(), "6");
    EXPECT_EQ(get(link(reference("From", one), reference("To", thing("")))).error(), "6");
    EXPECT_EQ(get(thing(reference("Number", one))).error(), "6");
}

TEST_F(TypedKeys, ALinkIsFollowedBothWays) {
    for (const auto& [from, to] : {std::pair(one, "6"), std::pair(other, "5")}) {
        const Answer answer(answerCim(diskmgt_test::requestText("AssociatorNames", {{"ObjectName", from}}), classes,
                                      &store, "server1", ""));
        EXPECT_EQ(answer.only("//INSTANCEPATH/INSTANCENAME/KEYBINDING[@NAME='Number']/KEYVALUE"), to);
    }
}

}  // namespace
}  // namespace diskmgt::serve
