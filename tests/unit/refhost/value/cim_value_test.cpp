// TCIMValue and TCIMType as plug-ins use them.
#include "plugin/host/cim_value.h"

#include <gtest/gtest.h>

#include "plugin/host/tal_exception.h"
#include "tests/unit/refhost/in_process_plugin.h"

namespace {

using NVEXTAL20::TCIMValue;
using NVEXTAL20::TTALException;
using refhost_test::parsed;
using Type = TCIMValue::TCIMType;

std::string refusalOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const TTALException& failure) {
        return failure.what();
    }
    return "accepted";
}

TEST(CimValue, DefaultIsNullAndHasTheEmptyText) {
    const TCIMValue value;
    EXPECT_TRUE(value.IsNull());
    EXPECT_EQ(std::string(value), "");
}

TEST(CimValue, EmptyStringIsNotNull) {
    const TCIMValue value{std::string()};
    EXPECT_FALSE(value.IsNull());
    EXPECT_EQ(std::string(value), "");
}

TEST(CimValue, CopiesKeepTheirValueWhenTheOriginalChanges) {
    TCIMValue original(std::string("first"));
    const TCIMValue copy = original;
    original = TCIMValue(std::string("second"));
    EXPECT_EQ(std::string(copy), "first");
    EXPECT_EQ(std::string(original), "second");
}

TEST(CimValue, ParsedTextIsCanonicalAndTheTextIsLeftAlone) {
    std::string text = "TRUE";
    const TCIMValue value(Type("boolean"), text, {});
    EXPECT_EQ(std::string(value), "true");
    EXPECT_EQ(text, "TRUE");
}

TEST(CimValue, TextThatDoesNotFitSaysTypeTextAndReason) {
    EXPECT_EQ(refusalOf([] { (void)parsed("uint16", "70000"); }),
              "the text \"70000\" is no uint16: it is out of range");
    EXPECT_EQ(refusalOf([] { (void)parsed("boolean", "1"); }),
              "the text \"1\" is no boolean: it is neither true nor false");
}

TEST(CimValue, NoElementGivesAnEmptyArrayThatIsNotNull) {
    TCIMValue value;
    value.Set(Type("string"), 256, {});
    EXPECT_FALSE(value.IsNull());
    EXPECT_EQ(std::string(value), "");
}

TEST(CimValue, ArrayTextJoinsItsElementsWithCommas) {
    TCIMValue value;
    value.Set(Type("string"), 256, {parsed("string", "/boot"), parsed("string", ""), parsed("string", " b")});
    EXPECT_EQ(std::string(value), "/boot,, b");
}

TEST(CimValue, ArrayElementOfAnotherTypeIsRefused) {
    TCIMValue value(std::string("before"));
    EXPECT_EQ(refusalOf([&] {
                  value.Set(Type("uint8"), 256, {parsed("uint8", "1"), parsed("uint16", "2")});
              }),
              "element 2 of an array of uint8 is the uint16 \"2\": its type differs");
    EXPECT_EQ(std::string(value), "before");
}

TEST(CimValue, NullAndNestedElementsAreRefused) {
    TCIMValue value;
    TCIMValue array;
    array.Set(Type("string"), 256, {});
    EXPECT_EQ(refusalOf([&] { value.Set(Type("string"), 256, {TCIMValue()}); }),
              "element 1 of an array of string is null");
    EXPECT_EQ(refusalOf([&] { value.Set(Type("string"), 256, {array}); }),
              "element 1 of an array of string is itself an array");
}

TEST(CimType, TextNameGoesInAndComesOut) {
    for (const char* word : {"string", "uint64", "boolean", "datetime", "reference"}) {
        const Type type{std::string(word)};
        EXPECT_EQ(type.ToString(), word);
        EXPECT_EQ(Type(type).ToString(), word);
    }
}

TEST(CimType, UnknownNameThrows) {
    EXPECT_EQ(refusalOf([] { (void)Type("String"); }), "there is no CIM type named \"String\"");
    EXPECT_EQ(refusalOf([] { (void)Type("string[]"); }), "there is no CIM type named \"string[]\"");
    EXPECT_EQ(refusalOf([] { (void)Type(""); }), "there is no CIM type named \"\"");
}

TEST(CimType, AssignmentReplaces) {
    Type type("string");
    type = Type("uint8");
    EXPECT_EQ(type.ToString(), "uint8");
}

}  // namespace
