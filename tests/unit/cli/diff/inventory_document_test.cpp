// Reading documents: what they hold, and every way in which a file can be none.
#include "cli/diff/inventory_document.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/unit/cli/diff/documents.h"

namespace diskmgt {

namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Texts = std::vector<std::string>;

std::string refusalOf(const std::string& text) {
    try {
        (void)readInventoryDocument(text);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "was read";
}

Texts placesOf(const DocumentElement& element) { return std::get<Texts>(element.values.at(kPlaces)); }

TEST(InventoryDocument, ElementsLieOnWhatTheyAreNestedIn) {
    const InventoryDocument read = readInventoryDocument(document(
        drive("/dev/sda", partition("/dev/sda2", "9", "", partition("/dev/sda5", "8", "", "", disk("/dev/sda5"))),
              disk("/dev/mapper/x"))));
    ASSERT_EQ(read.partitions.size(), 2U);
    EXPECT_EQ(read.drives.at(0).name, "/dev/sda");
    EXPECT_EQ(placesOf(read.partitions[0]), Texts{"/dev/sda"});
    EXPECT_EQ(placesOf(read.partitions[1]), Texts{"/dev/sda2"});
    ASSERT_EQ(read.logicalDisks.size(), 2U);
    EXPECT_EQ(placesOf(read.logicalDisks[0]), Texts{"/dev/sda5"});
    EXPECT_EQ(placesOf(read.logicalDisks[1]), Texts{"/dev/sda"});
    EXPECT_EQ(std::get<std::uint64_t>(read.partitions[0].values.at("size")), 9U);
}

TEST(InventoryDocument, WhatIsPairedTwiceIsOneElementOnTwoPlaces) {
    const std::string paired = partition("/dev/sdaa1", "9", "", "", disk("/dev/sdaa1"));
    const InventoryDocument read =
        readInventoryDocument(document(drive("/dev/sda", paired) + "," + drive("/dev/sdaa", paired)));
    ASSERT_EQ(read.partitions.size(), 1U);
    EXPECT_EQ(placesOf(read.partitions[0]), (Texts{"/dev/sda", "/dev/sdaa"}));
    ASSERT_EQ(read.logicalDisks.size(), 1U);
    EXPECT_EQ(placesOf(read.logicalDisks[0]), Texts{"/dev/sdaa1"});
}

TEST(InventoryDocument, EqualNamesOnOneDriveStayApart) {
    const InventoryDocument read = readInventoryDocument(
        document(drive("/dev/sda", partition("/dev/sda5", "1") + "," + partition("/dev/sda5", "2"))));
    EXPECT_EQ(read.partitions.size(), 2U);
}

TEST(InventoryDocument, LooseElementsLieOnNothing) {
    Frame frame;
    frame.loose = partition("/dev/vda1");
    frame.looseDisks = disk("tmpfs", "/tmp");
    const InventoryDocument read = readInventoryDocument(document("", frame));
    EXPECT_EQ(placesOf(read.partitions.at(0)), Texts{});
    EXPECT_EQ(placesOf(read.logicalDisks.at(0)), Texts{});
}

TEST(InventoryDocument, GapsAndFailuresAreKnown) {
    Frame frame;
    frame.missing = "\"VEXSG_LogicalDisk\"";
    frame.failures = R"({"class": "VEXSG_DiskDrive", "text": "an error was logged: x"})";
    const InventoryDocument read = readInventoryDocument(document("", frame));
    EXPECT_FALSE(read.isComplete);
    EXPECT_TRUE(read.lacks("VEXSG_LogicalDisk"));
    EXPECT_THAT(read.failures, ElementsAre("VEXSG_DiskDrive: an error was logged: x"));
}

TEST(InventoryDocument, KeysOfLaterVersionsAreIgnored) {
    EXPECT_EQ(refusalOf(document(drive("/dev/sda", "", "", R"(, "colour": {"x": [null]})"))), "was read");
}

TEST(InventoryDocument, NumbersReachTo64Bits) {
    const InventoryDocument read =
        readInventoryDocument(document(drive("/dev/sda", partition("/dev/sda1", "18446744073709551615"))));
    EXPECT_EQ(std::get<std::uint64_t>(read.partitions.at(0).values.at("size")), UINT64_MAX);
}

struct NoDocument {
    const char* label;
    std::string text;
    const char* says;
};

class Unreadable : public ::testing::TestWithParam<NoDocument> {};

TEST_P(Unreadable, IsRefusedWithTheReason) { EXPECT_THAT(refusalOf(GetParam().text), HasSubstr(GetParam().says)); }

const std::string kDeep(1000000, '[');

INSTANTIATE_TEST_SUITE_P(
    Texts, Unreadable,
    ::testing::Values(
        NoDocument{"empty", "", "ends in the middle"},
        NoDocument{"not_json", "VEXSG_DiskDrive (3 instances)", "line 1, column 1"},
        NoDocument{"not_json_further_down", "{\n \"diskmgt\": x}", "line 2, column 13"},
        NoDocument{"bytes_that_are_not_utf8", "{\"diskmgt\": \"\xFF\"}", "is no JSON"},
        NoDocument{"two_documents", document("") + document(""), "is no JSON"},
        NoDocument{"deeply_nested", kDeep, "nested more than 32 deep"},
        NoDocument{"nested_to_the_limit", std::string(32, '[') + std::string(32, ']'), "is no inventory"},
        NoDocument{"nested_past_the_limit", std::string(33, '[') + std::string(33, ']'), "nested more than 32 deep"},
        NoDocument{"deeply_nested_and_closed", kDeep + std::string(1000000, ']'), "nested more than 32 deep"},
        NoDocument{"huge_number", "{\"diskmgt\": 1e999}", "holds a number"},
        NoDocument{"a_list", "[]", "is no inventory"}, NoDocument{"a_number", "1", "is no inventory"},
        NoDocument{"null", "null", "is no inventory"},
        NoDocument{"answer_of_get", R"({"namespace": "root/cimv2", "classes": [], "log": []})", "is no inventory"},
        NoDocument{"inventory_is_no_object", R"({"diskmgt": []})", "is no inventory"},
        NoDocument{"no_schema", R"({"diskmgt": {}})", "is no inventory"},
        NoDocument{"schema_0", document("", {"", "", "", "", "0"}), "is no inventory"},
        NoDocument{"schema_is_text", document("", {"", "", "", "", "\"1\""}), "is no inventory"},
        NoDocument{"schema_is_negative", document("", {"", "", "", "", "-1"}), "is no inventory"},
        NoDocument{"newer_schema", document("", {"", "", "", "", "2"}), "has the newer form 2"},
        NoDocument{"key_missing", R"({"diskmgt": {"schema": 1}})", "lacks diskmgt.hostName"},
        NoDocument{"name_twice", R"({"diskmgt": {"schema": 1, "schema": 1}})", "names \"schema\" twice"},
        NoDocument{"name_twice_behind_instances",
                   R"({"diskmgt": {"instances": {"A": [{"B": {"C": 1}}]}, "schema": 1, "schema": 1}})",
                   "names \"schema\" twice"},
        NoDocument{"drive_is_text", document("\"/dev/sda\""), "has no object as diskmgt.drives[0]"},
        NoDocument{"drive_is_null", document("null"), "has no object as diskmgt.drives[0]"},
        NoDocument{"device_is_number", R"({"diskmgt": {"schema": 1, "hostName": 1}})",
                   "has no text as diskmgt.hostName"},
        NoDocument{"size_is_text", document(drive("/dev/sda", partition("x", "\"1\""))),
                   "has no whole number as diskmgt.drives[0].partitions[0].size"},
        NoDocument{"size_is_negative", document(drive("/dev/sda", partition("x", "-1"))), "has no whole number"},
        NoDocument{"size_is_fraction", document(drive("/dev/sda", partition("x", "1.5"))), "has no whole number"},
        NoDocument{"size_has_65_bits", document(drive("/dev/sda", partition("x", "18446744073709551616"))),
                   "has no whole number"},
        NoDocument{"size_is_null", document(drive("/dev/sda", partition("x", "null"))), "has no whole number"}),
    [](const auto& row) { return row.param.label; });

TEST(InventoryDocument, CutAnywhereItIsRefused) {
    const std::string whole = document(drive("/dev/sda", partition("/dev/sda1"), disk("/dev/sda")));
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(refusalOf(whole.substr(0, length)), "was read") << length;
}

}  // namespace

}  // namespace diskmgt
