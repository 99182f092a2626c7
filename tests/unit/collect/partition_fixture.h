// Running the partition table parser over a described machine.
#pragma once

#include <gtest/gtest.h>

#include "base/os.h"
#include "collect/partition_table_parser.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"

namespace diskmgt_test {

/// The partitions of these devices. Asserts that nothing stays open.
inline PropertyMaps partitionsOn(FakeOs& machine, const std::vector<std::string>& devicePaths) {
    PropertyMaps maps = diskmgt_col::PartitionTableParser().enumPartitions(devicePaths);
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
    EXPECT_TRUE(machine.inheritablePaths().empty());
    return maps;
}

/// The partitions of a machine with one block device. Asserts that counting gives the same number.
inline PropertyMaps partitionsOf(const DiskImage& image, const std::string& devicePath = "/dev/sda") {
    FakeOs machine;
    machine.device(devicePath, image);
    PropertyMaps maps = partitionsOn(machine, {devicePath});
    EXPECT_EQ(diskmgt_col::partitionCountOf(devicePath), maps.size());
    return maps;
}

/// The entries of the table at a sector, read through a descriptor that the test opened.
inline std::vector<diskmgt_col::PartitionDescriptor> entriesAt(std::uint64_t sector, bool inExtended) {
    const int fd = diskmgt_col::os::openFile("/dev/sda", 0);
    const auto offset = static_cast<long long>(sector * kSectorBytes + 446);
    auto entries = diskmgt_col::PartitionTableParser().readPartitionEntries(fd, offset, inExtended);
    EXPECT_EQ(diskmgt_col::os::closeFile(fd), 0);
    return entries;
}

}  // namespace diskmgt_test
