// The decisions about the mount table, one at a time.
#include "collect/mount_rules.h"

#include <gmock/gmock.h>

#include <map>

#include "tests/support/fake_os.h"

namespace {

using namespace diskmgt_col;
using diskmgt_test::FakeOs;

struct statfs statistics;

TEST(MountRules, OnlyTheMountPointIsMeasuredWhenItCanBe) {
    FakeOs machine;
    machine.fileSystem("/data", {512, 7}).fileSystem("/dev/sda1", {4096, 9});
    EXPECT_EQ(measureMount("/data", "/dev/sda1", statistics), MeasuredPath::kMountPoint);
    EXPECT_EQ(statistics.f_blocks, 7U);
    EXPECT_EQ(machine.calls(), 1);
}

TEST(MountRules, TheSourceIsMeasuredWhenTheMountPointIsNot) {
    FakeOs machine;
    machine.fileSystem("/dev/sda1", {4096, 9});
    EXPECT_EQ(measureMount("/data", "/dev/sda1", statistics), MeasuredPath::kSource);
    EXPECT_EQ(statistics.f_blocks, 9U);
}

TEST(MountRules, NothingIsMeasuredWhenNeitherCanBe) {
    FakeOs machine;
    EXPECT_EQ(measureMount("/data", "server:/x", statistics), MeasuredPath::kNothing);
    EXPECT_EQ(machine.calls(), 2);
}

TEST(MountRules, OnlyASourceThatWasMetBeforeIsALaterMount) {
    const std::map<std::string, int> kept = {{"tmpfs", 0}};
    EXPECT_TRUE(isLaterMount(kept, "tmpfs"));
    EXPECT_FALSE(isLaterMount(kept, "tmpf"));
    EXPECT_FALSE(isLaterMount(kept, ""));
}

}  // namespace
