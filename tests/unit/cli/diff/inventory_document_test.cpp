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

TEST(InventoryDocument, DevicesAreDrivesPartitionsAndVolumes) {
    const InventoryDocument read =
        readInventoryDocument(document(disk("sda") + "," + partition("sda1", "9") + "," +
                                       row("dm-0", "lvm", R"("sda1")", R"(, "volume": "vg-root")", mount("/"))));
    EXPECT_EQ(read.of(ElementKind::kDrive).at(0).name, "/dev/sda");
    const DocumentElement& part = read.of(ElementKind::kPartition).at(0);
    EXPECT_EQ(placesOf(part), Texts{"/dev/sda"});
    EXPECT_EQ(*part.find<std::uint64_t>("size"), 9U);
    EXPECT_EQ(*part.find<std::string>("partition.typeName"), "Linux");
    EXPECT_EQ(*read.of(ElementKind::kDrive)[0].find<bool>("cim.drive.reported"), true);
    const DocumentElement& volume = read.of(ElementKind::kVolume).at(0);
    EXPECT_EQ(volume.name, "/dev/mapper/vg-root");
    EXPECT_EQ(placesOf(volume), Texts{"/dev/sda1"});
}

TEST(InventoryDocument, WhatIsMountedFromADeviceIsAFileSystemOnIt) {
    const InventoryDocument read = readInventoryDocument(
        document(disk("sda", R"(, "content": "ext4", "uuid": "f")", mount("/a") + "," + mount("/b"))));
    const DocumentElement& found = read.of(ElementKind::kFileSystem).at(0);
    EXPECT_EQ(found.name, "/a");
    EXPECT_EQ(*found.find<Texts>(kMountPoints), (Texts{"/a", "/b"}));
    EXPECT_EQ(*found.find<Texts>("options"), Texts{"rw"});
    EXPECT_EQ(*found.find<std::string>("uuid"), "f");
    EXPECT_EQ(placesOf(found), Texts{"/dev/sda"});
    EXPECT_EQ(read.of(ElementKind::kDrive).at(0).find<std::string>("uuid"), nullptr);
}

TEST(InventoryDocument, FileSystemOnSeveralDevicesIsOne) {
    const InventoryDocument read = readInventoryDocument(document(disk("sda", R"(, "uuid": "b", "mountsAt": "sdb")") +
                                                                  "," + disk("sdb", R"(, "uuid": "b")", mount("/"))));
    ASSERT_EQ(read.of(ElementKind::kFileSystem).size(), 1U);
    EXPECT_EQ(placesOf(read.of(ElementKind::kFileSystem)[0]), (Texts{"/dev/sda", "/dev/sdb"}));
}

TEST(InventoryDocument, DeviceThatNothingIsKnownToBeOnHasNoFileSystem) {
    EXPECT_TRUE(readInventoryDocument(document(disk("sda"))).of(ElementKind::kFileSystem).empty());
}

TEST(InventoryDocument, FileSystemsWithoutADeviceLieOnNothing) {
    const InventoryDocument read = readInventoryDocument(document("", {fileSystem("nas:/home", mount("/home"))}));
    const DocumentElement& found = read.of(ElementKind::kFileSystem).at(0);
    EXPECT_EQ(found.name, "/home");
    EXPECT_EQ(*found.find<std::string>("source"), "nas:/home");
    EXPECT_EQ(placesOf(found), Texts{});
}

TEST(InventoryDocument, GapsAreKnown) {
    const InventoryDocument read = readInventoryDocument(document("", {"", gap("block-list-not-read", "/sys/block")}));
    EXPECT_FALSE(read.isComplete);
    EXPECT_THAT(read.gaps, ElementsAre("It is missing."));
    EXPECT_TRUE(read.lacks(ElementKind::kDrive) && read.lacks(ElementKind::kFileSystem));
    const InventoryDocument other =
        readInventoryDocument(document("", {"", gap("mount-table-not-opened", "/proc/self/mountinfo")}));
    EXPECT_FALSE(other.lacks(ElementKind::kDrive));
    EXPECT_TRUE(other.lacks(ElementKind::kFileSystem));
    EXPECT_FALSE(
        readInventoryDocument(document("", {"", gap("open-failed", "/dev/sda")})).lacks(ElementKind::kFileSystem));
}

TEST(InventoryDocument, KeysOfLaterVersionsAreIgnored) {
    EXPECT_EQ(refusalOf(document(disk("sda", R"(, "colour": {"x": [null]})"))), "was read");
    EXPECT_EQ(refusalOf(document(row("x0", "later-kind", "", "", ""))), "was read");
}

TEST(InventoryDocument, NumbersReachTo64Bits) {
    const InventoryDocument read = readInventoryDocument(document(partition("sda1", "18446744073709551615")));
    EXPECT_EQ(*read.of(ElementKind::kPartition).at(0).find<std::uint64_t>("size"), UINT64_MAX);
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
        NoDocument{"empty", "", "is empty"}, NoDocument{"blank", " \n", "is empty"},
        NoDocument{"not_json", "VEXSG_DiskDrive (3 instances)", "line 1, column 1"},
        NoDocument{"not_json_further_down", "{\n \"diskmgt\": x}", "line 2, column 13"},
        NoDocument{"bytes_that_are_not_utf8", "{\"diskmgt\": \"\xFF\"}", "is not valid JSON"},
        NoDocument{"two_documents", document("") + document(""), "is not valid JSON"},
        NoDocument{"deeply_nested", kDeep, "nested more than 32 deep"},
        NoDocument{"nested_to_the_limit", std::string(32, '[') + std::string(32, ']'), "is not a document"},
        NoDocument{"nested_past_the_limit", std::string(33, '[') + std::string(33, ']'), "nested more than 32 deep"},
        NoDocument{"deeply_nested_and_closed", kDeep + std::string(1000000, ']'), "nested more than 32 deep"},
        NoDocument{"huge_number", "{\"diskmgt\": 1e999}", "holds a number"},
        NoDocument{"a_list", "[]", "is not a document"}, NoDocument{"a_number", "1", "is not a document"},
        NoDocument{"null", "null", "is not a document"},
        NoDocument{"answer_of_get", R"({"namespace": "root/cimv2", "classes": [], "log": []})", "is not a document"},
        NoDocument{"inventory_is_no_object", R"({"diskmgt": []})", "is not a document"},
        NoDocument{"no_schema", R"({"diskmgt": {}})", "is not a document"},
        NoDocument{"schema_0", document("", {"", "", "0"}), "is not a document"},
        NoDocument{"schema_is_text", document("", {"", "", "\"1\""}), "is not a document"},
        NoDocument{"schema_is_negative", document("", {"", "", "-1"}), "is not a document"},
        NoDocument{"newer_schema", document("", {"", "", "2"}), "has the newer form 2"},
        NoDocument{"no_devices", R"({"diskmgt": {"schema": 1, "drives": []}})", "was written before 1.1.0; export it"},
        NoDocument{"key_missing", R"({"diskmgt": {"schema": 1, "devices": []}})", "lacks diskmgt.hostName"},
        NoDocument{"list_is_object", R"({"diskmgt": {"schema": 1, "devices": {}}})", "has no list as diskmgt.devices"},
        NoDocument{"object_is_list", document(disk("sda", R"(, "partition": [])")),
                   "has no object as diskmgt.devices[0].partition"},
        NoDocument{"object_is_text", document(disk("sda", R"(, "swap": "1")")),
                   "has no object as diskmgt.devices[0].swap"},
        NoDocument{"inner_key_missing", document(disk("sda", R"(, "swap": {"size": 1})")),
                   "lacks diskmgt.devices[0].swap.used"},
        NoDocument{"mount_without_point", document(disk("sda", "", "{}")),
                   "lacks diskmgt.devices[0].mounts[0].mountPoint"},
        NoDocument{"name_twice", R"({"diskmgt": {"schema": 1, "schema": 1}})", "names \"schema\" twice"},
        NoDocument{"name_twice_behind_instances",
                   R"({"diskmgt": {"instances": {"A": [{"B": {"C": 1}}]}, "schema": 1, "schema": 1}})",
                   "names \"schema\" twice"},
        NoDocument{"device_is_text", document("\"/dev/sda\""), "has no object as diskmgt.devices[0]"},
        NoDocument{"device_twice", document(disk("sda") + "," + disk("sda")), "has two devices with the name \"sda\""},
        NoDocument{"device_is_null", document("null"), "has no object as diskmgt.devices[0]"},
        NoDocument{"text_is_number", R"({"diskmgt": {"schema": 1, "hostName": 1}})", "has no text as diskmgt.hostName"},
        NoDocument{"size_is_text", document(partition("x", "\"1\"")), "has no whole number as diskmgt.devices[0].size"},
        NoDocument{"size_is_negative", document(partition("x", "-1")), "has no whole number"},
        NoDocument{"size_is_fraction", document(partition("x", "1.5")), "has no whole number"},
        NoDocument{"size_has_65_bits", document(partition("x", "18446744073709551616")), "has no whole number"},
        NoDocument{"size_is_null", document(partition("x", "null")), "has no whole number"}),
    [](const auto& row) { return row.param.label; });

TEST(InventoryDocument, CutAnywhereItIsRefused) {
    const std::string whole = document(disk("sda") + "," + partition("sda1", "1", "sda", "", mount("/")));
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_NE(refusalOf(whole.substr(0, length)), "was read") << length;
}

}  // namespace

}  // namespace diskmgt
