// The described machine answers as a kernel would, records every call and fails the chosen ones.
#include "tests/support/fake_os.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <stdexcept>

#include "base/os.h"

namespace {

using diskmgt_test::DiskImage;
using diskmgt_test::Effect;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using ::testing::ElementsAre;

namespace os = diskmgt_col::os;

TEST(FakeOs, ABlockDeviceRefusesSeeksPastItsEndAndKeepsItsPosition) {
    FakeOs machine;
    machine.device("/dev/sda", DiskImage(1024).bytes(4, "abcd"));
    const int fd = os::openFile("/dev/sda", O_RDONLY);
    char buffer[4] = {};
    EXPECT_EQ(os::seekTo(fd, 4), 4);
    errno = 0;
    EXPECT_LT(os::seekTo(fd, 1025), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(os::readSome(fd, buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 2), "ab");
    EXPECT_EQ(os::seekTo(fd, 1024), 1024);
    EXPECT_EQ(os::readSome(fd, buffer, 2), 0);
    EXPECT_EQ(os::closeFile(fd), 0);
}

TEST(FakeOs, AFileAllowsAnySeekAndHasNoDeviceSize) {
    FakeOs machine;
    machine.file("/f", "text");
    const int fd = os::openFile("/f", O_RDONLY);
    char byte = 0;
    std::uint64_t size = 7;
    EXPECT_EQ(os::seekTo(fd, 1 << 20), 1 << 20);
    EXPECT_EQ(os::readSome(fd, &byte, 1), 0);
    EXPECT_LT(os::blockDeviceSize(fd, size), 0);
    EXPECT_EQ(errno, ENOTTY);
    EXPECT_EQ(size, 7U);
    EXPECT_EQ(os::closeFile(fd), 0);
}

TEST(FakeOs, NoticesTheUseOfAClosedDescriptor) {
    FakeOs machine;
    machine.file("/f", "text");
    const int fd = os::openFile("/f", O_RDONLY);
    EXPECT_EQ(os::closeFile(fd), 0);
    EXPECT_LT(os::closeFile(fd), 0);
    EXPECT_NE(os::openFile("/f", O_RDONLY), fd);  // never the same number again
    EXPECT_EQ(machine.staleUses(), 1);
    EXPECT_EQ(machine.openDescriptors(), 1);
    EXPECT_THAT(machine.inheritablePaths(), ElementsAre("/f"));
}

TEST(FakeOs, OpensFilesRelativeToAnOpenDirectory) {
    FakeOs machine;
    machine.directory("/d", {"f"}).file("/d/f", "text");
    DIR* const directory = os::openDirectory("/d");
    EXPECT_GE(os::openBelow(directory, "f", O_RDONLY), 0);
    EXPECT_LT(os::openBelow(directory, "g", O_RDONLY), 0);
    EXPECT_EQ(os::closeDirectory(directory), 0);
    EXPECT_LT(os::openBelow(directory, "f", O_RDONLY), 0);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(machine.staleUses(), 1);
}

TEST(FakeOs, FollowsLinks) {
    FakeOs machine;
    machine.node("/dev/sda1").link("/dev/disk/by-id/x", "../../sda1").link("/loop", "/loop").link("/gone", "nowhere");
    EXPECT_EQ(os::checkAccess("/dev/disk/by-id/x"), 0);
    EXPECT_LT(os::checkAccess("/loop"), 0);
    EXPECT_LT(os::checkAccess("/gone"), 0);
    char target[32];
    EXPECT_EQ(os::readLink("/dev/disk/by-id/x", target, sizeof target), 10);
    EXPECT_EQ(std::string(target, 10), "../../sda1");
    EXPECT_EQ(os::readLink("/dev/disk/by-id/x", target, 4), 4);
    EXPECT_LT(os::readLink("/dev/sda1", target, sizeof target), 0);
    EXPECT_EQ(errno, EINVAL);
}

TEST(FakeOs, ListsDirectoriesInTheOrderDescribed) {
    FakeOs machine;
    machine.directory("/sys/block/", {"sdb", "sda"});
    DIR* const directory = os::openDirectory("/sys/block");
    std::vector<std::string> names;
    while (const char* const name = os::nextEntryName(directory)) names.emplace_back(name);
    EXPECT_EQ(os::closeDirectory(directory), 0);
    EXPECT_THAT(names, ElementsAre(".", "..", "sdb", "sda"));
}

TEST(FakeOs, FailsTheChosenCallOnceOrFromThenOn) {
    FakeOs machine;
    machine.node("/a");
    machine.failCall(2, Fault::once, Effect::failsWith(EACCES));
    EXPECT_EQ(os::checkAccess("/a"), 0);
    EXPECT_LT(os::checkAccess("/a"), 0);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(os::checkAccess("/a"), 0);
    machine.failCall(2, Fault::fromThenOn);
    EXPECT_EQ(os::checkAccess("/a"), 0);
    EXPECT_LT(os::checkAccess("/a"), 0);
    EXPECT_LT(os::checkAccess("/a"), 0);
    EXPECT_THAT(machine.hitPaths(), ElementsAre("/a", "/a"));
    EXPECT_EQ(machine.calls(), 3);
    machine.heal();
    EXPECT_EQ(os::checkAccess("/a"), 0);
    EXPECT_THAT(machine.callTexts(), ElementsAre("access(/a)"));
}

TEST(FakeOs, ShortReadsGiveFewerBytesWithoutAnError) {
    FakeOs machine;
    machine.file("/f", "0123456789");
    machine.failCallsLike("read(", Effect::readsAtMost(3));
    const int fd = os::openFile("/f", O_RDONLY);
    char buffer[8];
    EXPECT_EQ(os::readSome(fd, buffer, sizeof buffer), 3);
    EXPECT_EQ(os::readSome(fd, buffer, 2), 2);
    EXPECT_EQ(std::string(buffer, 2), "34");
    EXPECT_EQ(os::closeFile(fd), 0);
}

TEST(FakeOs, OnlyOneMachineExistsAtATime) {
    const FakeOs machine;
    EXPECT_THROW(FakeOs(), std::logic_error);
}

TEST(FakeOsDeathTest, ACallWithoutAMachineAborts) {
    EXPECT_DEATH((void)os::checkAccess("/a"), "no FakeOs describes a machine");
}

}  // namespace
