// Object paths: their written form, and that no other form is read.
#include "refhost/value/object_path.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <map>

#include "plugin/host/tal_exception.h"

namespace {

using refhost::ObjectPath;
using refhost::objectPathText;
using refhost::parseObjectPath;

TEST(ObjectPathText, HasKeysInOrderEachValueQuoted) {
    EXPECT_EQ(objectPathText({"VEXSG_DiskDrive", {{"DeviceID", "/dev/sda"}, {"SystemName", "host"}}}),
              "VEXSG_DiskDrive.DeviceID=\"/dev/sda\",SystemName=\"host\"");
}

TEST(ObjectPathText, IsTheClassAloneWithoutKeys) { EXPECT_EQ(objectPathText({"A", {}}), "A"); }

TEST(ObjectPathText, EscapesQuotesAndBackslashesOnly) {
    EXPECT_EQ(objectPathText({"A", {{"K", "a\"b\\c,d=e\n"}}}), "A.K=\"a\\\"b\\\\c,d=e\n\"");
}

TEST(ObjectPath, RoundTripsAnyValues) {
    EXPECT_TRUE(rc::check("print, then parse", [](const std::map<std::uint16_t, std::string>& values) {
        ObjectPath path{"Some_Class1", {}};
        std::map<std::string, std::string> keys;  // in byte order
        for (const auto& [number, value] : values) keys.emplace("K" + std::to_string(number), value);
        for (const auto& key : keys) path.keys.push_back(key);
        const std::string text = objectPathText(path);
        const ObjectPath again = parseObjectPath(text);
        RC_ASSERT(again.className == path.className);
        RC_ASSERT(again.keys == path.keys);
        RC_ASSERT(objectPathText(again) == text);
    }));
}

TEST(ObjectPath, NestsAPathAsAKeyValue) {
    const std::string inner = objectPathText({"B", {{"N", "x\"y"}}});
    const std::string outer = objectPathText({"A", {{"Antecedent", inner}}});
    EXPECT_EQ(outer, "A.Antecedent=\"B.N=\\\"x\\\\\\\"y\\\"\"");
    EXPECT_EQ(parseObjectPath(parseObjectPath(outer).keys[0].second).keys[0].second, "x\"y");
}

struct Malformed {
    const char* label;
    const char* text;
    const char* reason;
};
class MalformedPath : public ::testing::TestWithParam<Malformed> {};
TEST_P(MalformedPath, ThrowsWithTheReason) {
    try {
        (void)parseObjectPath(GetParam().text);
        FAIL() << "accepted";
    } catch (const NVEXTAL20::TTALException& failure) {
        EXPECT_EQ(std::string(failure.what()),
                  std::string("the text \"") + GetParam().text + "\" is no reference: " + GetParam().reason);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Paths, MalformedPath,
    ::testing::Values(
        Malformed{"empty", "", "it lacks a class name"},
        Malformed{"begins_with_a_digit", "1A", "it lacks a class name"},
        Malformed{"blank_before", " A", "it lacks a class name"},
        Malformed{"blank_after", "A ", "it lacks '.' after the class name"},
        Malformed{"namespace_before", "root:A", "it lacks '.' after the class name"},
        Malformed{"no_key", "A.", "it lacks a key name"},
        Malformed{"no_equals", "A.K", "it lacks '=' after a key name"},
        Malformed{"no_value", "A.K=", "it lacks the quote before a key value"},
        Malformed{"bare_number", "A.K=1", "it lacks the quote before a key value"},
        Malformed{"open_quote", "A.K=\"v", "it lacks the quote after a key value"},
        Malformed{"escaped_last_quote", "A.K=\"v\\\"", "it lacks the quote after a key value"},
        Malformed{"unknown_escape", "A.K=\"\\n\"", "a backslash is followed by neither a quote nor a backslash"},
        Malformed{"backslash_at_the_end", "A.K=\"\\", "a backslash is followed by neither a quote nor a backslash"},
        Malformed{"text_after", "A.K=\"v\"x", "it lacks ',' between keys"},
        Malformed{"comma_at_the_end", "A.K=\"v\",", "it lacks a key name"},
        Malformed{"keys_out_of_order", "A.L=\"v\",K=\"w\"", "its keys are not in byte order"},
        Malformed{"key_twice", "A.K=\"v\",K=\"w\"", "its keys are not in byte order"}),
    [](const auto& row) { return row.param.label; });

TEST(ObjectPath, CutAnywhereIsRefusedOrIsItselfAPath) {
    const std::string text = "A.K=\"v\\\"\",L=\"w\"";
    for (std::size_t length = 0; length < text.size(); ++length) {
        SCOPED_TRACE(length);
        const std::string cut = text.substr(0, length);
        try {
            EXPECT_EQ(objectPathText(parseObjectPath(cut)), cut);
        } catch (const NVEXTAL20::TTALException&) {
            SUCCEED();
        }
    }
}

}  // namespace
