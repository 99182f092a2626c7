// What counts as a change, and what does not.
#include "cli/diff/comparison.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <map>

#include "tests/unit/cli/diff/documents.h"

namespace diskmgt {

namespace {

using namespace test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

/// One line a change: "+ name", "- name", "name: value value".
Lines linesOf(const std::vector<Change>& changes) {
    Lines lines;
    for (const Change& change : changes) {
        std::string line = (change.came() ? "+ " : change.went() ? "- " : "") + change.name;
        if (!change.values.empty()) line += ":";
        for (const ValueChange& value : change.values) line += " " + value.name;
        lines.push_back(line);
    }
    return lines;
}

Lines compared(const std::string& before, const std::string& after, bool withSpace = false) {
    const InventoryDocument old = readInventoryDocument(before);
    const InventoryDocument now = readInventoryDocument(after);
    return linesOf(compareInventories(old, now, withSpace));
}

TEST(Comparison, NothingChangedIsEmpty) {
    const std::string same = document(disk("sda", "", mount("/")) + "," + partition("sda1"));
    EXPECT_THAT(compared(same, same, true), IsEmpty());
}

TEST(Comparison, ElementsComeAndGoInTheOrderOfPeople) {
    const std::string many = partition("sda10") + "," + partition("sda2") + "," + partition("sda1");
    EXPECT_THAT(compared(document(""), document(many)), ElementsAre("+ /dev/sda1", "+ /dev/sda2", "+ /dev/sda10"));
    EXPECT_THAT(compared(document(many), document("")), ElementsAre("- /dev/sda1", "- /dev/sda2", "- /dev/sda10"));
}

TEST(Comparison, OrderDoesNotCountAsAChange) {
    const std::string one = partition("sda1"), two = partition("sda2");
    EXPECT_THAT(compared(document(one + "," + two), document(two + "," + one)), IsEmpty());
}

TEST(Comparison, EveryValueOfAPartitionCounts) {
    EXPECT_THAT(
        compared(document(disk("sda") + "," + partition("sda1", "1", "sda", R"(, "start": 1, "type": "0x83")")),
                 document(disk("sda") + "," + partition("sda1", "2", "sda", R"(, "start": 2, "type": "0x8e")"))),
        ElementsAre("/dev/sda1: partition.start partition.type size"));
}

TEST(Comparison, WordsForATypeAreNoChange) {
    std::string other = document(partition("sda1"));
    other.replace(other.find("Linux"), 5, "Linux data");
    EXPECT_THAT(compared(document(partition("sda1")), other), IsEmpty());
}

constexpr const char* kFull = R"(, "total": 9, "free": 1, "available": 1)";
constexpr const char* kEmptier = R"(, "total": 9, "free": 2, "available": 2)";
constexpr const char* kGrown = R"(, "total": 10, "free": 1, "available": 1)";

TEST(Comparison, FreeSpaceCountsOnlyWhenAskedFor) {
    const std::string full = document(disk("sda", "", mount("/x", kFull)));
    const std::string emptier = document(disk("sda", "", mount("/x", kEmptier)));
    EXPECT_THAT(compared(full, emptier), IsEmpty());
    EXPECT_THAT(compared(full, emptier, true), ElementsAre("/x: available free"));
}

TEST(Comparison, GrownFileSystemIsAChange) {
    EXPECT_THAT(compared(document(disk("sda", "", mount("/x", kFull))), document(disk("sda", "", mount("/x", kGrown)))),
                ElementsAre("/x: total"));
}

TEST(Comparison, TotalOfAPoolMovesWithItsUse) {
    const auto pool = [](const char* figures) {
        std::string text = document("", {fileSystem("tank", mount("/tank", figures))});
        return text.replace(text.find("network"), 7, "pool");
    };
    EXPECT_THAT(compared(pool(kFull), pool(kGrown)), IsEmpty());
    EXPECT_THAT(compared(pool(kFull), pool(kGrown), true), ElementsAre("/tank: total"));
}

TEST(Comparison, EqualNamesAreMatchedWithTheirEqualsFirst) {
    const auto list = [](const std::string& sizes) {
        std::string mounts;
        for (const char size : sizes)
            mounts += (mounts.empty() ? "" : ",") +
                      fileSystem(std::string(1, size), mount("/x", R"(, "total": )" + std::string(1, size)));
        return document("", {mounts});
    };
    EXPECT_THAT(compared(list("12"), list("2")), ElementsAre("- /x"));
    EXPECT_THAT(compared(list("12"), list("23")), ElementsAre("/x: source total"));
    EXPECT_THAT(compared(list("11"), list("1")), ElementsAre("- /x"));
}

TEST(Comparison, RenamedDiskKeepsItsPartitionsAndFileSystems) {
    const std::string id = R"(, "wwid": "naa.1")";
    const auto server = [&id](const std::string& name) {
        return document(disk(name, id) + "," +
                        partition(name + "1", "1", name, R"(, "number": 1)", mount("/", R"(, "total": 1)")));
    };
    const InventoryDocument old = readInventoryDocument(server("sda")), now = readInventoryDocument(server("sdb"));
    const std::vector<Change> changes = compareInventories(old, now, false);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_TRUE(changes[0].isRenamed && changes[0].kind == ElementKind::kDrive);
    EXPECT_TRUE(changes[1].isRenamed && changes[1].values.empty());
    EXPECT_EQ(changes[1].saidBy, 0U);
}

TEST(Comparison, HiddenPathsHaveTheIdentityOfTheirDiskAndDoNotHideIt) {
    const std::string id = R"(, "wwid": "eui.1")";
    const auto server = [&id](const std::string& disk_name) {
        return document(row(disk_name, "disk", "", id, "") + "," + row("nvme0c0n1", "path", "", id, "") + "," +
                        row("nvme0c1n1", "path", "", id, ""));
    };
    EXPECT_THAT(compared(server("nvme0n1"), server("nvme1n1")), ElementsAre("/dev/nvme1n1"));
}

TEST(Comparison, PlacesThatGoRoundInCirclesStillGiveARowEach) {
    const std::string circle = row("md0", "raid", R"("md1")", "", "") + "," + row("md1", "raid", R"("md0")", "", "");
    const InventoryDocument none = readInventoryDocument(document("")), both = readInventoryDocument(document(circle));
    const std::vector<Change> changes = compareInventories(none, both, false);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_TRUE(!changes[0].saidBy || !changes[1].saidBy);
}

TEST(Comparison, WhatAnIncompleteDocumentLacksIsUnknown) {
    const std::string whole = document(disk("sda", R"(, "model": "x")", mount("/", kFull)));
    const std::string cut = document(disk("sda", "", mount("/")), {"", gap("open-failed", "/dev/sda")});
    EXPECT_THAT(compared(whole, cut), IsEmpty());
    EXPECT_THAT(compared(cut, whole), IsEmpty());
    EXPECT_THAT(compared(whole, document(disk("sda", "", mount("/")))), ElementsAre("/dev/sda: model", "/: total"));
    EXPECT_THAT(compared(whole, document("", {"", gap("block-list-not-read", "/sys/block")})), IsEmpty());
}

TEST(Comparison, DoubtsNameTheDocument) {
    const InventoryDocument whole = readInventoryDocument(document(""));
    const InventoryDocument cut = readInventoryDocument(
        document("", {"", gap("open-failed", "/dev/sda") + "," + gap("open-failed", "/dev/sdb"), "1", "server2"}));
    EXPECT_THAT(doubtsAbout(whole, "a", whole, "b"), IsEmpty());
    EXPECT_THAT(doubtsAbout(whole, "a", cut, "b"),
                ElementsAre("the documents are of two servers: server1 and server2",
                            "b is not complete, and what it lacks counts as unknown: It is missing (and 1 other gap)"));
}

// Few names and values, so that elements of two documents meet.
rc::Gen<std::string> listOf(const rc::Gen<std::string>& element) {
    return rc::gen::map(rc::gen::resize(5, rc::gen::container<Lines>(rc::gen::resize(100, element))),
                        [](const Lines& elements) {
                            std::string list;
                            for (const std::string& item : elements) list += (list.empty() ? "" : ",") + item;
                            return list;
                        });
}

rc::Gen<std::string> anyMount() {
    return rc::gen::map(rc::gen::tuple(rc::gen::inRange(0, 3), rc::gen::inRange(0, 3)), [](const auto& drawn) {
        const char* const figures[] = {"", kFull, kGrown};
        return mount("/" + std::to_string(std::get<0>(drawn)), figures[std::get<1>(drawn)]);
    });
}

std::string oneOf(const std::string& name, int value) {
    return value == 0 ? "" : ", " + quoted(name) + ": " + quoted(std::to_string(value));
}

/// One of nine: a device occurs once, and what it lies on is there.
rc::Gen<std::string> anyDevice(int which) {
    const auto small = rc::gen::inRange(0, 3);
    return rc::gen::map(
        rc::gen::tuple(rc::gen::inRange(0, 2), small, small, small, listOf(anyMount())), [which](const auto& drawn) {
            const auto& [isThere, parent, identity, other, mounts] = drawn;
            if (isThere == 0 && which % 3 != 0) return std::string();
            const int name = which / 3;
            const std::string disk_name = "sd" + std::string(1, static_cast<char>('a' + name));
            const std::string on = "sd" + std::string(1, static_cast<char>('a' + parent));
            const std::string content = oneOf("uuid", other);
            if (which % 3 == 0)
                return disk(disk_name, oneOf("wwid", identity) + oneOf("serial", other) + content, mounts);
            if (which % 3 == 1) return row("md" + std::to_string(name), "raid", quoted(on), content, mounts);
            return partition(disk_name + "1", std::to_string(other), on, oneOf("uuid", identity), mounts);
        });
}

rc::Gen<std::string> anyDevices() {
    return rc::gen::map(rc::gen::tuple(anyDevice(0), anyDevice(1), anyDevice(2), anyDevice(3), anyDevice(4),
                                       anyDevice(5), anyDevice(6), anyDevice(7), anyDevice(8)),
                        [](const auto& drawn) {
                            std::string list;
                            std::apply(
                                [&list](const auto&... devices) {
                                    for (const std::string& device : {devices...})
                                        if (!device.empty()) list += (list.empty() ? "" : ",") + device;
                                },
                                drawn);
                            return list;
                        });
}

rc::Gen<std::string> anyDocument() {
    const auto elsewhere = rc::gen::map(rc::gen::tuple(rc::gen::inRange(0, 3), anyMount()), [](const auto& drawn) {
        return fileSystem("source" + std::to_string(std::get<0>(drawn)), std::get<1>(drawn));
    });
    return rc::gen::map(rc::gen::tuple(anyDevices(), listOf(elsewhere)),
                        [](const auto& drawn) { return document(std::get<0>(drawn), {std::get<1>(drawn)}); });
}

RC_GTEST_PROP(Comparison, DocumentEqualsItself, ()) {
    const std::string text = *anyDocument();
    RC_ASSERT(compared(text, text, true).empty());
}

RC_GTEST_PROP(Comparison, BackwardsItIsTheMirrorImage, ()) {
    const InventoryDocument one = readInventoryDocument(*anyDocument());
    const InventoryDocument two = readInventoryDocument(*anyDocument());
    const bool withSpace = *rc::gen::arbitrary<bool>();
    const std::vector<Change> forth = compareInventories(one, two, withSpace);
    const std::vector<Change> back = compareInventories(two, one, withSpace);
    RC_CLASSIFY(!forth.empty(), "different");
    RC_ASSERT(forth.size() == back.size());
    using Ends = std::pair<const DocumentElement*, const DocumentElement*>;
    std::map<Ends, const Change*> turned;
    for (const Change& change : back) turned[{change.after, change.before}] = &change;
    for (std::size_t i = 0; i < forth.size(); ++i) {
        RC_ASSERT(forth[i].kind == back[i].kind);
        RC_ASSERT(turned.count({forth[i].before, forth[i].after}) == 1U);
        const Change& mirrored = *turned.at({forth[i].before, forth[i].after});
        RC_ASSERT(forth[i].isRenamed == mirrored.isRenamed);
        RC_ASSERT(forth[i].saidBy.has_value() == mirrored.saidBy.has_value());
        RC_ASSERT(forth[i].values.size() == mirrored.values.size());
        for (std::size_t k = 0; k < forth[i].values.size(); ++k) {
            const ValueChange &ahead = forth[i].values[k], &behind = mirrored.values[k];
            RC_ASSERT(ahead.name == behind.name && ahead.before == behind.after && ahead.after == behind.before);
        }
    }
}

}  // namespace

}  // namespace diskmgt
