// Every crossing of the boundary fails, once and from then on, in every way in which a host can fail.
#include <gtest/gtest.h>

#include <tuple>

#include "tests/faults/crossing_model.h"
#include "tests/faults/full_request.h"

namespace {

using diskmgt_test::CrossingModel;
using diskmgt_test::describeServer;
using diskmgt_test::differences;
using diskmgt_test::FakeOs;
using diskmgt_test::FullRequest;
using diskmgt_test::Outcome;
using refhost::FaultKind;
using refhost::FaultPlan;

class Crossing : public ::testing::Test {
protected:
    Crossing() {
        describeServer(machine);
        machine.keepNoTexts();
    }

    CrossingModel traced() {
        request.host.startTrace();
        clean = request.run();
        return CrossingModel(request.host.takeTrace(), clean);
    }

    FakeOs machine;
    FullRequest request;
    Outcome clean;
};

TEST_F(Crossing, ARequestWithoutOneServesTheWholeServer) {
    EXPECT_GT(traced().crossings(), 500U);
    EXPECT_FALSE(clean.failure);
    EXPECT_EQ(clean.of("VEXSG_DiskDrive").size(), 4U);
    EXPECT_EQ(clean.of("VEXSG_DiskPartition").size(), 9U);
    EXPECT_EQ(clean.of("VEXSG_LogicalDisk").size(), 6U);
    EXPECT_EQ(clean.of("VEXSG_PartitionPresent").size(), 9U);
    EXPECT_EQ(clean.of("VEXSG_MediaPresent").size(), 3U);
    EXPECT_EQ(clean.of("VEXSG_LogicalDiskBasedOnPartition").size(), 2U);
    EXPECT_EQ(clean.of("VEXSG_LogicalDisk")[0].at("TotalSpace"), "20480");  // of its source: /data cannot be measured
    EXPECT_EQ(clean.log.size(), 18U);  // one for each class, one for the virtual disk
    diskmgt_test::expectAssociationsFollow(clean);
}

class CrossingFault : public Crossing, public ::testing::WithParamInterface<std::tuple<FaultKind, bool>> {};

TEST_P(CrossingFault, CostsItsOwnClassOrTheRequestAndNothingElse) {
    const CrossingModel model = traced();
    const auto [kind, fromThenOn] = GetParam();
    for (std::size_t crossing = 1; crossing <= model.crossings() && !HasFailure(); ++crossing) {
        SCOPED_TRACE(model.describe(crossing));
        const FaultPlan plan{crossing, fromThenOn, kind};
        request.host.setFaultPlan(plan);
        const Outcome faulty = request.run();
        request.host.clearFaultPlan();
        model.expectOnlyItsClassSuffers(plan, faulty);
        EXPECT_EQ(machine.openHandles(), 0);
        EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
    }
    EXPECT_EQ(machine.staleUses(), 0);
}

std::string kindName(const ::testing::TestParamInfo<std::tuple<FaultKind, bool>>& row) {
    static const char* const names[] = {"host_exception", "standard_exception", "foreign_exception", "null"};
    return names[static_cast<int>(std::get<0>(row.param))];
}

const auto everyKind = ::testing::Values(FaultKind::kTalException, FaultKind::kStandardException,
                                         FaultKind::kForeignException, FaultKind::kNullResult);

INSTANTIATE_TEST_SUITE_P(Once, CrossingFault, ::testing::Combine(everyKind, ::testing::Values(false)), kindName);
INSTANTIATE_TEST_SUITE_P(FromThenOn, CrossingFault, ::testing::Combine(everyKind, ::testing::Values(true)), kindName);

}  // namespace
