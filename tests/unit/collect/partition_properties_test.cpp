// The parser against a second, literal reading of the same bytes, on random and hostile disks.
#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <tuple>

#include "tests/support/literal_parser.h"
#include "tests/unit/collect/partition_fixture.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::FakeOs;
using diskmgt_test::LiteralDisk;
using diskmgt_test::literalPartitions;
using diskmgt_test::PropertyMaps;

constexpr std::uint64_t kSectors = 10;  // so few that links hit other tables

const char* const kTypes[] = {
    "024DEE41-33E7-11D3-9D69-0008C781F39F", "C12A7328-F81F-11D2-BA4B-00A0C93EC93B",
    "21686148-6449-6E6F-744E-656564454649", "E3C9E316-0B5C-4DB8-817D-F92DF00215AE",
    "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7", "5808C8AA-7E8F-42E0-85D2-E1E90434CFB3",
    "AF9B60A0-1431-4F62-BC68-3311714A69AD", "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC",
    "A19D880F-05FC-4D3B-A006-743F0F84911E", "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F",
    "E6D6D379-F507-44C2-A23C-238F2A3DF928", "8DA63339-0007-60C0-C436-083AC8230908",
    "0FC63DAF-8483-4772-8E79-3D69D8477DE4", "AA31E02A-400F-11DB-9590-000C2911D1B8",
    "00000000-0000-0000-0102-030405060708", "00000000-0000-0000-0000-000000000000",
    "01234567-89AB-CDEF-0123-456789ABCDEF",
};

/// Runs the real parser over the disk and compares.
void expectLiteralReading(const LiteralDisk& disk) {
    FakeOs machine;
    if (disk.isBlockDevice) {
        machine.device(disk.path, DiskImage(0).bytes(0, disk.bytes).cutAt(disk.bytes.size()));
    } else {
        machine.file(disk.path, disk.bytes);
    }
    for (const std::string& node : disk.existingPaths) machine.node(node);
    const PropertyMaps found = diskmgt_col::PartitionTableParser().enumPartitions({disk.path});
    RC_ASSERT(machine.openHandles() == 0);
    RC_ASSERT(machine.staleUses() == 0);
    RC_ASSERT(found == literalPartitions(disk));
    RC_ASSERT(diskmgt_col::partitionCountOf(disk.path) == found.size());
    RC_ASSERT(machine.openHandles() == 0);
    RC_CLASSIFY(found.empty(), "no partitions");
}

/// Mostly a value of `usual`, else any.
template <typename T>
rc::Gen<T> mostly(rc::Gen<T> usual) {
    return rc::gen::weightedOneOf<T>({{5, std::move(usual)}, {1, rc::gen::arbitrary<T>()}});
}

rc::Gen<std::uint8_t> partitionType() {
    return mostly(rc::gen::element<std::uint8_t>(0x00, 0x05, 0x05, 0x0F, 0x83, 0x82, 0x85, 0xEE));
}

using SlotRecipe = std::tuple<std::uint64_t, unsigned, std::uint8_t, std::uint32_t, std::uint32_t, std::uint8_t>;

/// Sector of the table, slot, type, start, length, boot indicator.
rc::Gen<SlotRecipe> slotRecipe() {
    return rc::gen::tuple(rc::gen::inRange<std::uint64_t>(0, kSectors), rc::gen::inRange(0U, 4U), partitionType(),
                          mostly(rc::gen::inRange<std::uint32_t>(0, kSectors)), rc::gen::arbitrary<std::uint32_t>(),
                          mostly(rc::gen::element<std::uint8_t>(0, 0x80)));
}

void drawSlots(DiskImage& image) {
    for (const auto& [sector, slot, type, start, count, boot] :
         *rc::gen::container<std::vector<SlotRecipe>>(slotRecipe()))
        image.slot(slot, type, start, count, sector, boot);
}

/// Path, kind of file and neighbours for these bytes.
LiteralDisk drawSurroundings(std::string bytes) {
    LiteralDisk disk;
    disk.bytes = std::move(bytes);
    disk.path = *rc::gen::element<std::string>("/dev/sda", "/dev/nvme0n1", "/dev/nvme0n1", "dev/nvme0n1",
                                               "/x/dev/nvme1n1", "/dev/md0", "/dev/fd0", "disk.img", "/dev/nvme");
    disk.isBlockDevice = *rc::gen::arbitrary<bool>();
    for (const auto& [number, withP] : *rc::gen::container<std::set<std::pair<int, bool>>>(
             rc::gen::pair(rc::gen::inRange(1, 10), rc::gen::arbitrary<bool>())))
        disk.existingPaths.insert(disk.path + (withP ? "p" : "") + std::to_string(number));
    return disk;
}

/// Mostly the whole disk, else cut anywhere.
void drawCut(DiskImage& image) {
    if (*rc::gen::weightedElement<bool>({{2, false}, {1, true}}))
        image.cutAt(*rc::gen::inRange<std::uint64_t>(0, image.sizeBytes() + 1));
}

RC_GTEST_PROP(PartitionTableParser, ReadsMbrDisksLiterally, ()) {
    DiskImage image(kSectors * 512);
    drawSlots(image);
    drawCut(image);
    expectLiteralReading(drawSurroundings(image.allBytes()));
}

RC_GTEST_PROP(PartitionTableParser, ReadsChainsOfExtendedRecordsLiterally, ()) {
    DiskImage image(kSectors * 512);
    image.slot(*rc::gen::inRange(0U, 4U), 0x05, *rc::gen::inRange<std::uint32_t>(0, kSectors), 100);
    for (std::uint64_t sector = 1; sector < kSectors; ++sector) {
        image.slot(0, *partitionType(), *rc::gen::inRange<std::uint32_t>(0, kSectors), 1, sector);
        image.slot(*rc::gen::inRange(1U, 4U), *rc::gen::element<std::uint8_t>(0x05, 0x0F),
                   *rc::gen::inRange<std::uint32_t>(0, kSectors), 1, sector);
    }
    drawSlots(image);
    drawCut(image);
    expectLiteralReading(drawSurroundings(image.allBytes()));
}

RC_GTEST_PROP(PartitionTableParser, ReadsGptDisksLiterally, ()) {
    DiskImage image((2 + 64 + 8) * 512);
    image.gpt(*rc::gen::oneOf(rc::gen::inRange<std::int32_t>(-3, 4), rc::gen::inRange<std::int32_t>(120, 136),
                              rc::gen::inRange<std::int32_t>(252, 262), rc::gen::just<std::int32_t>(1 << 20),
                              rc::gen::just<std::int32_t>(-2147483647 - 1)));
    const auto entry = rc::gen::tuple(
        rc::gen::weightedOneOf<unsigned>({{3, rc::gen::inRange(1U, 9U)}, {1, rc::gen::inRange(1U, 265U)}}),
        rc::gen::elementOf(std::vector<std::string>(std::begin(kTypes), std::end(kTypes))),
        rc::gen::arbitrary<std::uint64_t>(), rc::gen::arbitrary<std::uint64_t>());
    using Entries = std::vector<std::tuple<unsigned, std::string, std::uint64_t, std::uint64_t>>;
    for (const auto& [slot, type, first, last] : *rc::gen::container<Entries>(entry))
        image.gptEntry(slot, type, first, last);
    drawCut(image);
    expectLiteralReading(drawSurroundings(image.allBytes()));
}

RC_GTEST_PROP(PartitionTableParser, ReadsRandomBytesLiterally, ()) {
    DiskImage image(kSectors * 512);
    using Pieces = std::vector<std::pair<std::uint64_t, std::vector<std::uint8_t>>>;
    const auto piece = rc::gen::pair(rc::gen::map(rc::gen::inRange<std::uint64_t>(0, kSectors),
                                                  [](std::uint64_t sector) { return sector * 512 + 446; }),
                                     rc::gen::resize(200, rc::gen::arbitrary<std::vector<std::uint8_t>>()));
    for (const auto& [offset, bytes] : *rc::gen::container<Pieces>(piece))
        image.bytes(offset, std::string(bytes.begin(), bytes.end()));
    image.little(512 + 82, 0, 2);  // the allocator decides about a larger number of GPT entries
    if (*rc::gen::arbitrary<bool>()) image.gpt(*rc::gen::inRange<std::int32_t>(0, 40));
    drawCut(image);
    expectLiteralReading(drawSurroundings(image.allBytes()));
}

TEST(PartitionTableParser, ReadsARichDiskLiterallyWhereverItIsCut) {
    DiskImage mbr(kSectors * 512);
    mbr.slot(0, 0x83, 1, 1).slot(1, 0x05, 3, 5).slot(2, 0x82, 9, 9, 0, 0x80).slot(3, 0x0F, 2000, 1);
    mbr.slot(0, 0x83, 1, 1, 3).slot(1, 0x0F, 2, 1, 3).slot(0, 0x07, 1, 2, 5).slot(3, 0x05, 0, 1, 5);
    DiskImage gpt(kSectors * 512);
    gpt.gpt(20);
    for (unsigned slot = 1; slot <= 17; slot += 2) gpt.gptEntry(slot, kTypes[slot - 1], slot, slot * 100);
    for (const DiskImage& whole : {mbr, gpt})
        for (std::uint64_t length = 0; length <= whole.sizeBytes(); ++length) {
            LiteralDisk disk;
            disk.path = "/dev/sda";
            disk.bytes = DiskImage(whole).cutAt(length).allBytes();
            FakeOs machine;
            machine.device("/dev/sda", DiskImage(whole).cutAt(length));
            ASSERT_EQ(diskmgt_test::partitionsOn(machine, {"/dev/sda"}), literalPartitions(disk)) << length << " bytes";
        }
}

}  // namespace
