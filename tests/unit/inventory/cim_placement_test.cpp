// Which published partition is which of the kernel's.
#include "inventory/cim_placement.h"

#include <gmock/gmock.h>

namespace diskmgt {
namespace {

using ::testing::ElementsAre;
using ::testing::Eq;
using Kind = PublishedPlace::Kind;

constexpr std::uint64_t kMiB = 1 << 20;
constexpr std::uint64_t kFourGiB = std::uint64_t{1} << 32;
constexpr std::nullopt_t kNone = std::nullopt;

TEST(Placement, GptPartitionsMatchByStartAndSizeWhateverTheirNames) {
    const std::vector<PublishedPlace> published{{Kind::kGpt, "/dev/md01", 5 * kMiB, kMiB},
                                                {Kind::kGpt, "/dev/md02", 5 * kMiB, 6 * kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/md0p2", 2, 5 * kMiB, 6 * kMiB}, {"/dev/md0p1", 1, 5 * kMiB, kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(1U), Eq(0U)));
}

TEST(Placement, PartitionsOneFourteenAndFifteenKeepTheirPlacesThoughPublishedAsOneTwoThree) {
    const std::vector<PublishedPlace> published{{Kind::kGpt, "/dev/sda1", 100 * kMiB, 112 * kMiB},
                                                {Kind::kGpt, "/dev/sda2", 4 * kMiB, kMiB},
                                                {Kind::kGpt, "/dev/sda3", 106 * kMiB, 5 * kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda1", 1, 100 * kMiB, 112 * kMiB},
                                           {"/dev/sda14", 14, 4 * kMiB, kMiB},
                                           {"/dev/sda15", 15, 106 * kMiB, 5 * kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U), Eq(1U), Eq(2U)));
}

TEST(Placement, PrimaryPartitionsMatchByStartModuloFourGiB) {
    const std::vector<PublishedPlace> published{{Kind::kPrimary, "/dev/sda1", 8 * kMiB, kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda1", 1, 8 * kMiB, 3 * kFourGiB + kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U)));
}

TEST(Placement, AnEmptySlotGivesNoPartitionTheStartOfAnother) {
    const std::vector<PublishedPlace> published{{Kind::kPrimary, "/dev/sda1", 8 * kMiB, 20 * kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda2", 2, 8 * kMiB, 20 * kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U)));
}

TEST(Placement, AnExtendedPartitionMatchesByStartAlone) {
    const std::vector<PublishedPlace> published{{Kind::kExtended, "/dev/sda2", 50 * kMiB, 10 * kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda2", 2, 1024, 10 * kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U)));
}

TEST(Placement, LogicalPartitionsMatchBySizeInTheOrderOfTheirChain) {
    const std::vector<PublishedPlace> published{{Kind::kLogical, "/dev/sda5", 5 * kMiB, 2048},
                                                {Kind::kLogical, "/dev/sda6", 5 * kMiB, 2048},
                                                {Kind::kLogical, "/dev/sda7", 7 * kMiB, 2048}};
    const std::vector<KernelPlace> kernels{{"/dev/sda7", 7, 7 * kMiB, 30 * kMiB},
                                           {"/dev/sda6", 6, 5 * kMiB, 20 * kMiB},
                                           {"/dev/sda5", 5, 5 * kMiB, 10 * kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(2U), Eq(1U), Eq(0U)));
}

TEST(Placement, AMissingLogicalPartitionDoesNotMoveTheOthers) {
    const std::vector<PublishedPlace> published{{Kind::kLogical, "/dev/sda5", 3 * kMiB, 2048},
                                                {Kind::kLogical, "/dev/sda6", 7 * kMiB, 2048}};
    const std::vector<KernelPlace> kernels{{"/dev/sda5", 5, 7 * kMiB, 30 * kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(kNone), Eq(0U)));
}

TEST(Placement, AGrownPartitionIsTheSameOne) {
    const std::vector<PublishedPlace> published{{Kind::kGpt, "/dev/sda1", 20 * kMiB, kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda1", 1, 10 * kMiB, kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U)));
}

TEST(Placement, ANameAloneDecidesNothing) {
    const std::vector<PublishedPlace> published{{Kind::kGpt, "/dev/sda1", 20 * kMiB, 2 * kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda1", 1, 10 * kMiB, kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(kNone)));
}

TEST(Placement, TwoPublishedAlikeDoNotShareAPartition) {
    const std::vector<PublishedPlace> published{{Kind::kGpt, "/dev/sda1", kMiB, kMiB},
                                                {Kind::kGpt, "/dev/sda1", kMiB, kMiB}};
    const std::vector<KernelPlace> kernels{{"/dev/sda1", 1, kMiB, kMiB}};
    EXPECT_THAT(placePartitions(published, kernels), ElementsAre(Eq(0U), Eq(kNone)));
}

}  // namespace
}  // namespace diskmgt
