// What keeps an account from being complete, when no class is missing.
#include "inventory/completeness.h"

#include <gtest/gtest.h>

#include "session/published.h"

namespace diskmgt {
namespace {

TEST(Completeness, CollectingProcessThatEndsEarlyBehindItsLastClassIsAGap) {
    const diskmgt_machine::Machine machine;
    Collection collection;
    collection.end = {"crashed", "crashed", "It crashed.", kFailureReported};
    ServerAccount account(machine, collection);
    addGaps(account);
    ASSERT_EQ(account.gaps.size(), 1U);
    EXPECT_EQ(account.gaps.front().rule, "crashed");
    EXPECT_EQ(account.gaps.front().of, "CIM");
    EXPECT_FALSE(account.isComplete());
}

TEST(Completeness, CollectingProcessThatEndsEarlyIsOneGapForEachMissingClass) {
    const diskmgt_machine::Machine machine;
    Collection collection;
    collection.end = {"timed-out", "time ran out", "It gave up.", kTimedOut};
    collection.inventory.published.missingClasses = {"VEXSG_DiskDrive", "VEXSG_LogicalDisk"};
    ServerAccount account(machine, collection);
    addGaps(account);
    ASSERT_EQ(account.gaps.size(), 2U);
    EXPECT_EQ(account.gaps.front().of, "VEXSG_DiskDrive");
    EXPECT_EQ(account.gaps.back().of, "VEXSG_LogicalDisk");
}

}  // namespace
}  // namespace diskmgt
