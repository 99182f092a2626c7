// The partition table parser against the literal reading of the same bytes. First byte: the device's path and whether
// it is a block device; second: which nodes of partitions exist; the rest: the disk, as it is.
#include <algorithm>
#include <cstring>
#include <string>

#include "collect/partition_table_parser.h"
#include "fuzz/target.h"
#include "tests/support/fake_os.h"
#include "tests/support/literal_parser.h"

namespace {

using diskmgt_test::FakeOs;
using diskmgt_test::LiteralDisk;

constexpr const char* kPaths[] = {"/dev/sda", "/dev/nvme0n1", "dev/nvme0n1", "/mnt/dev/nvme0n1",
                                  "/dev/md0", "/dev/fd0",     "/dev/sda0",   "disk.img"};
constexpr std::size_t kHeaderOffset = 512;
constexpr std::size_t kCountOffset = 80;  // of the number of entries, in the GPT header
constexpr std::size_t kMostBytes = 1 << 16;

/// Limits the number of entries to a few more than the disk can hold, because a huge array may or may not be allocated;
/// negative numbers stay. If the device ends before the header, the seek fails and its first bytes count as the header.
void boundEntryCount(std::string& disk) {
    const std::size_t place = kCountOffset + (disk.size() < kHeaderOffset ? 0 : kHeaderOffset);
    if (disk.size() <= place) return;
    std::int32_t count = 0;
    const std::size_t held = std::min(sizeof count, disk.size() - place);  // a disk may end within it
    std::memcpy(&count, disk.data() + place, held);
    count = std::min(count, static_cast<std::int32_t>(disk.size() / 128 + 2));
    std::memcpy(disk.data() + place, &count, held);
}

}  // namespace

// A failed allocation returns null, which is not the sanitizers' default.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    diskmgt_fuzz::Choices input(data, std::min(size, kMostBytes));
    const std::uint8_t device = input.byte();
    const std::uint8_t nodes = input.byte();
    LiteralDisk disk;
    disk.path = kPaths[device % 8];
    disk.isBlockDevice = (device & 0x80U) == 0;
    disk.bytes.assign(input.rest(), input.restSize());
    boundEntryCount(disk.bytes);
    for (int number = 1; number <= 4; ++number) {
        if ((nodes >> (number - 1) & 1U) != 0) disk.existingPaths.insert(disk.path + std::to_string(number));
        if ((nodes >> (number + 3) & 1U) != 0) disk.existingPaths.insert(disk.path + "p" + std::to_string(number));
    }

    FakeOs machine;
    machine.keepNoTexts();
    if (disk.isBlockDevice) {
        machine.device(disk.path, disk.bytes.size(), [&](std::uint64_t offset, char* buffer, std::size_t count) {
            std::memcpy(buffer, disk.bytes.data() + offset, count);
        });
    } else {
        machine.file(disk.path, disk.bytes);
    }
    for (const std::string& path : disk.existingPaths) machine.node(path);

    const auto found = diskmgt_col::PartitionTableParser().enumPartitions({disk.path});
    diskmgt_fuzz::require(found == diskmgt_test::literalPartitions(disk), "both readings give the same partitions");
    diskmgt_fuzz::require(machine.openHandles() == 0, "everything that was opened is closed");
    diskmgt_fuzz::require(machine.staleUses() == 0, "nothing is used after it was closed");
    return 0;
}
