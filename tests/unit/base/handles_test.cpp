// Owners of descriptors, directories and mount tables.
#include "base/handles.h"

#include <gmock/gmock.h>

#include "tests/support/fake_os.h"

namespace {

using diskmgt_col::openDevice;
using diskmgt_col::UniqueDirectory;
using diskmgt_col::UniqueFd;
using diskmgt_col::UniqueMountTable;
using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace os = diskmgt_col::os;

TEST(UniqueFd, ClosesOnceWhenItsLifeEnds) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage());
    { const UniqueFd disk(os::openFile("/dev/sda", O_RDONLY)); }
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)", "close(/dev/sda)"));
    EXPECT_EQ(machine.openHandles(), 0);
}

TEST(UniqueFd, ClosesNothingWhenTheOpenFailed) {
    FakeOs machine;
    {
        const UniqueFd disk(os::openFile("/dev/sda", O_RDONLY));
        EXPECT_FALSE(disk.valid());
    }
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)"));
}

TEST(UniqueFd, HandsTheDescriptorOverWhenMoved) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage());
    {
        UniqueFd first(os::openFile("/dev/sda", O_RDONLY));
        const int number = first.get();
        const UniqueFd second(std::move(first));
        EXPECT_EQ(second.get(), number);
        EXPECT_EQ(machine.openDescriptors(), 1);
    }
    EXPECT_EQ(machine.openDescriptors(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
}

TEST(OpenDevice, OpensReadOnlyThenSetsCloseOnExec) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage());
    { EXPECT_TRUE(openDevice("/dev/sda").valid()); }
    EXPECT_THAT(machine.callTexts(),
                ElementsAre("open(/dev/sda, O_RDONLY)", "fcntl(/dev/sda, FD_CLOEXEC)", "close(/dev/sda)"));
    EXPECT_THAT(machine.inheritablePaths(), IsEmpty());
}

TEST(OpenDevice, MakesNoFurtherCallForADeviceThatDoesNotOpen) {
    FakeOs machine;
    EXPECT_FALSE(openDevice("/dev/sda").valid());
    EXPECT_THAT(machine.callTexts(), ElementsAre("open(/dev/sda, O_RDONLY)"));
}

TEST(OpenDevice, StaysUsableWhenCloseOnExecFails) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage());
    machine.failCallsLike("fcntl(", Effect::failsWith(EINVAL));
    EXPECT_TRUE(openDevice("/dev/sda").valid());
    EXPECT_EQ(machine.openDescriptors(), 0);
}

TEST(UniqueDirectory, ClosesWhenItsLifeEndsAndOnlyWhenOpen) {
    FakeOs machine;
    machine.directory("/sys/block", {"sda"});
    {
        const UniqueDirectory blocks(os::openDirectory("/sys/block/"));
        const UniqueDirectory missing(os::openDirectory("/sys/nothing"));
        EXPECT_NE(blocks, nullptr);
        EXPECT_EQ(missing, nullptr);
        EXPECT_EQ(machine.openHandles(), 1);
    }
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
}

TEST(UniqueMountTable, ClosesWhenItsLifeEndsAndOnlyWhenOpen) {
    FakeOs machine;
    machine.file("/etc/mtab", "proc /proc proc rw 0 0\n");
    {
        const UniqueMountTable table(os::openMountTable("/etc/mtab", "r+"));
        const UniqueMountTable missing(os::openMountTable("/etc/none", "r+"));
        EXPECT_NE(table, nullptr);
        EXPECT_EQ(missing, nullptr);
        EXPECT_EQ(machine.openHandles(), 1);
    }
    EXPECT_EQ(machine.openHandles(), 0);
    EXPECT_EQ(machine.staleUses(), 0);
}

}  // namespace
