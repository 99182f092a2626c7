// What counts as a change, and what does not.
#include "cli/diff/comparison.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

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

std::string onDrive(const std::string& partitions, const std::string& disks = "") {
    return document(drive("/dev/sda", partitions, disks));
}

TEST(Comparison, NothingChangedIsEmpty) {
    const std::string same = onDrive(partition("/dev/sda1"), disk("/dev/sda"));
    EXPECT_THAT(compared(same, same, true), IsEmpty());
}

TEST(Comparison, ElementsComeAndGoInTheOrderOfPeople) {
    const std::string many = partition("/dev/sda10") + "," + partition("/dev/sda2") + "," + partition("/dev/sda1");
    EXPECT_THAT(compared(onDrive(""), onDrive(many)), ElementsAre("+ /dev/sda1", "+ /dev/sda2", "+ /dev/sda10"));
    EXPECT_THAT(compared(onDrive(many), onDrive("")), ElementsAre("- /dev/sda1", "- /dev/sda2", "- /dev/sda10"));
}

TEST(Comparison, OrderIsNoChange) {
    const std::string one = partition("/dev/sda1"), two = partition("/dev/sda2");
    EXPECT_THAT(compared(onDrive(one + "," + two), onDrive(two + "," + one)), IsEmpty());
}

TEST(Comparison, EveryValueOfAPartitionCounts) {
    EXPECT_THAT(compared(onDrive(partition("/dev/sda1", "1", R"(, "start": 1, "typeByte": 131)")),
                         onDrive(partition("/dev/sda1", "2", R"(, "start": 2, "typeByte": 142)"))),
                ElementsAre("/dev/sda1: size start typeByte"));
}

TEST(Comparison, WordsForATypeAreNoChange) {
    std::string other = onDrive(partition("/dev/sda1"));
    other.replace(other.find("Linux"), 5, "Linux data");
    EXPECT_THAT(compared(onDrive(partition("/dev/sda1")), other), IsEmpty());
}

TEST(Comparison, AnotherDriveUnderTheSameNameIsAChange) {
    EXPECT_THAT(compared(document(drive("/dev/sda", "", "", R"(, "serial": "A")")),
                         document(drive("/dev/sda", "", "", R"(, "serial": "B")"))),
                ElementsAre("/dev/sda: serial"));
}

TEST(Comparison, MountingElsewhereIsAChange) {
    EXPECT_THAT(compared(onDrive("", disk("/dev/sda", "/a")), onDrive("", disk("/dev/sda", "/b"))),
                ElementsAre("/dev/sda: mountPoints"));
}

TEST(Comparison, MovingToAnotherPlaceIsAChange) {
    const std::string volume = disk("/dev/mapper/x");
    EXPECT_THAT(compared(onDrive(partition("/dev/sda1", "1", "", "", volume) + "," + partition("/dev/sda2")),
                         onDrive(partition("/dev/sda1") + "," + partition("/dev/sda2", "1048576", "", "", volume))),
                ElementsAre("/dev/sda1: size", "/dev/mapper/x: on"));
}

constexpr const char* kFull =
    R"(, "fileSystemId": "1 2", "total": 9, "free": 1, "available": 1, "measuredAtSource": false)";
constexpr const char* kEmptier =
    R"(, "fileSystemId": "3 4", "total": 9, "free": 2, "available": 2, "measuredAtSource": false)";
constexpr const char* kGrown =
    R"(, "fileSystemId": "1 2", "total": 10, "free": 1, "available": 1, "measuredAtSource": false)";
constexpr const char* kElsewhere = R"(, "fileSystemId": "1 2", "total": 5, "free": 1, "measuredAtSource": true)";

TEST(Comparison, FreeSpaceAndIdentifierCountOnlyWhenAskedFor) {
    const std::string full = onDrive("", disk("x", "/x", kFull)), emptier = onDrive("", disk("x", "/x", kEmptier));
    EXPECT_THAT(compared(full, emptier), IsEmpty());
    EXPECT_THAT(compared(full, emptier, true), ElementsAre("x: available fileSystemId free"));
}

TEST(Comparison, GrownFileSystemIsAChange) {
    EXPECT_THAT(compared(onDrive("", disk("x", "/x", kFull)), onDrive("", disk("x", "/x", kGrown))),
                ElementsAre("x: total"));
}

TEST(Comparison, TotalOfAnotherFileSystemIsNone) {
    EXPECT_THAT(compared(onDrive("", disk("x", "/x", kFull)), onDrive("", disk("x", "/x", kElsewhere))), IsEmpty());
    EXPECT_THAT(compared(onDrive("", disk("x", "/x", kFull)), onDrive("", disk("x", "/x", kElsewhere)), true),
                ElementsAre("x: available measuredAtSource total"));
}

TEST(Comparison, EqualNamesAreMatchedWithTheirEqualsFirst) {
    const std::string a = partition("/dev/sda5", "1"), b = partition("/dev/sda5", "2"), c = partition("/dev/sda5", "3");
    EXPECT_THAT(compared(onDrive(a + "," + b), onDrive(b)), ElementsAre("- /dev/sda5"));
    EXPECT_THAT(compared(onDrive(a + "," + b), onDrive(b + "," + c)), ElementsAre("/dev/sda5: size"));
    EXPECT_THAT(compared(onDrive(a + "," + a), onDrive(a)), ElementsAre("- /dev/sda5"));
}

Frame lacking(const std::string& className) {
    Frame frame;
    frame.missing = quoted(className);
    return frame;
}

TEST(Comparison, WhatAnIncompleteDocumentLacksIsUnknown) {
    const std::string whole = document(drive("/dev/sda", partition("/dev/sda1"), disk("/dev/sda")));
    const std::string cut = document(drive("/dev/sda"), lacking("VEXSG_DiskPartition"));
    EXPECT_THAT(compared(whole, cut), ElementsAre("- /dev/sda"));  // the logical disk is not of the missing class
    EXPECT_THAT(compared(cut, whole), ElementsAre("+ /dev/sda"));
}

TEST(Comparison, PlacesAreUnknownWithoutTheirAssociation) {
    Frame cut = lacking("VEXSG_PartitionPresent");
    cut.loose = partition("/dev/sda1");
    EXPECT_THAT(compared(onDrive(partition("/dev/sda1")), document(drive("/dev/sda"), cut)), IsEmpty());
    Frame whole;
    whole.loose = partition("/dev/sda1");
    EXPECT_THAT(compared(onDrive(partition("/dev/sda1")), document(drive("/dev/sda"), whole)),
                ElementsAre("/dev/sda1: on"));
}

TEST(Comparison, WhatIsLookedUpLastIsUnknownInAnIncompleteDocument) {
    const std::string more = R"(["/a", "/b"])";
    std::string whole = document(drive("/dev/sda", partition("/dev/sda1", "1", R"(, "start": 1)"), disk("x", "/a")));
    whole.replace(whole.find(R"(["/a"])"), 6, more);
    const std::string cut =
        document(drive("/dev/sda", partition("/dev/sda1", "1"), disk("x", "/a")), lacking("VEXSG_Other"));
    EXPECT_THAT(compared(whole, cut), IsEmpty());
    const std::string moved =
        document(drive("/dev/sda", partition("/dev/sda1", "1"), disk("x", "/b")), lacking("VEXSG_Other"));
    EXPECT_THAT(compared(whole, moved), ElementsAre("x: mountPoints"));
}

TEST(Comparison, DoubtsNameTheDocument) {
    const InventoryDocument whole = readInventoryDocument(document(""));
    Frame frame = lacking("VEXSG_LogicalDisk");
    frame.failures = R"({"class": "VEXSG_DiskDrive", "text": "x"})";
    frame.hostName = "server2";
    const InventoryDocument cut = readInventoryDocument(document("", frame));
    EXPECT_THAT(doubtsAbout(whole, "a", whole, "b"), IsEmpty());
    EXPECT_THAT(doubtsAbout(whole, "a", cut, "b"),
                ElementsAre("the documents are of two servers: server1 and server2",
                            "b is incomplete, because time ran out: what it lacks counts as unknown (logical disks)",
                            "b tells of a failure, so what seems to have gone may only be missing there: "
                            "VEXSG_DiskDrive: x"));
}

// Few names and values, so that elements of two documents meet.
rc::Gen<std::string> anyPartition() {
    return rc::gen::map(rc::gen::tuple(rc::gen::inRange(1, 4), rc::gen::inRange(1, 4), rc::gen::inRange(0, 3)),
                        [](const auto& drawn) {
                            const auto [number, size, start] = drawn;
                            return partition("/dev/sda" + std::to_string(number), std::to_string(size),
                                             start == 0 ? "" : ", \"start\": " + std::to_string(start));
                        });
}

rc::Gen<std::string> listOf(const rc::Gen<std::string>& element) {
    return rc::gen::map(rc::gen::resize(5, rc::gen::container<Lines>(rc::gen::resize(100, element))),
                        [](const Lines& elements) {
                            std::string list;
                            for (const std::string& item : elements) list += (list.empty() ? "" : ",") + item;
                            return list;
                        });
}

rc::Gen<std::string> anyDisk() {
    return rc::gen::map(rc::gen::tuple(rc::gen::inRange(0, 3), rc::gen::inRange(0, 2), rc::gen::inRange(0, 3)),
                        [](const auto& drawn) {
                            const char* const kinds[] = {"", kFull, kElsewhere};
                            const auto [name, mountPoint, kind] = drawn;
                            return disk("source" + std::to_string(name), "/" + std::to_string(mountPoint), kinds[kind]);
                        });
}

rc::Gen<std::string> anyDocument() {
    const auto anyDrive = rc::gen::map(
        rc::gen::tuple(rc::gen::inRange(0, 2), listOf(anyPartition()), listOf(anyDisk())), [](const auto& drawn) {
            return drive("/dev/sd" + std::string(1, static_cast<char>('a' + std::get<0>(drawn))), std::get<1>(drawn),
                         std::get<2>(drawn));
        });
    return rc::gen::map(rc::gen::tuple(listOf(anyDrive), listOf(anyPartition()), listOf(anyDisk())),
                        [](const auto& drawn) {
                            Frame frame;
                            frame.loose = std::get<1>(drawn);
                            frame.looseDisks = std::get<2>(drawn);
                            return document(std::get<0>(drawn), frame);
                        });
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
    for (std::size_t i = 0; i < forth.size(); ++i) {
        RC_ASSERT(forth[i].kind == back[i].kind && forth[i].name == back[i].name);
        RC_ASSERT(forth[i].before == back[i].after && forth[i].after == back[i].before);
        RC_ASSERT(forth[i].values.size() == back[i].values.size());
        for (std::size_t k = 0; k < forth[i].values.size(); ++k) {
            const ValueChange &ahead = forth[i].values[k], &behind = back[i].values[k];
            RC_ASSERT(ahead.name == behind.name && ahead.before == behind.after && ahead.after == behind.before);
        }
    }
}

}  // namespace

}  // namespace diskmgt
