// Every allocation inside the plug-in's part of a request fails, once and from then on.
//
// Allocations of the reference host during its calls count too. It passes `std::bad_alloc` on, which the plug-in sees
// as a standard exception of the host. The same must hold, so every assertion here covers both.
#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <set>

#include "tests/faults/allocation_faults.h"
#include "tests/faults/full_request.h"

namespace {

using diskmgt_test::allClasses;
using diskmgt_test::AllocationFaults;
using diskmgt_test::describeServer;
using diskmgt_test::differences;
using diskmgt_test::FakeOs;
using diskmgt_test::Fault;
using diskmgt_test::FullRequest;
using diskmgt_test::isAssociationClass;
using diskmgt_test::isBeginningOf;
using diskmgt_test::Outcome;
using diskmgt_test::pairsOf;
using diskmgt_test::Texts;

using Kind = AllocationFaults::Kind;

bool tellsOfExhaustion(const std::string& line) {
    return line.find("collection encountered exception: std::bad_alloc") != std::string::npos;
}

std::vector<std::string> withoutExhaustion(std::vector<std::string> log) {
    log.erase(std::remove_if(log.begin(), log.end(), tellsOfExhaustion), log.end());
    return log;
}

class AllocationFault : public ::testing::Test {
protected:
    AllocationFault() {
        describeServer(machine);
        machine.keepNoTexts();
        clean = request.run();
    }

    /// Number of allocations of each kind in the plug-in's part of a request.
    int countOf(Kind kind) {
        int count = 0;
        request.setAround([&](const FullRequest::Serve& serve) {
            const AllocationFaults none(kind, 0, Fault::once);
            serve();
            count = none.countOf(kind);
        });
        EXPECT_EQ(differences(request.run(), clean), "");
        request.setAround(nullptr);
        return count;
    }

    Outcome runWithFailure(Kind kind, int number, Fault how) {
        request.setAround([&](const FullRequest::Serve& serve) {
            const AllocationFaults faults(kind, number, how);
            serve();
        });
        Outcome outcome = request.run();
        request.setAround(nullptr);
        EXPECT_EQ(machine.openHandles(), 0);
        EXPECT_EQ(machine.staleUses(), 0);
        return outcome;
    }

    /// The expected instances of the class: associations follow from the published instances.
    std::vector<Texts> due(const std::string& className, const Outcome& outcome) const {
        return isAssociationClass(className) ? pairsOf(className, outcome) : clean.of(className);
    }

    /// The classes that differ from what is expected; each must hold a beginning of it.
    std::vector<std::string> classesCutShort(const Outcome& outcome) const {
        std::vector<std::string> cut;
        for (const std::string& className : allClasses()) {
            const std::vector<Texts> wanted = due(className, outcome);
            EXPECT_TRUE(isBeginningOf(outcome.of(className), wanted)) << className;
            if (outcome.of(className) != wanted) cut.push_back(className);
        }
        return cut;
    }

    void expectOneClassSuffers(const Outcome& outcome) const {
        const std::vector<std::string> cut = classesCutShort(outcome);
        EXPECT_LE(cut.size(), 1U);
        const auto told = std::count_if(outcome.log.begin(), outcome.log.end(), tellsOfExhaustion);
        EXPECT_LE(told, 1);
        if (!cut.empty() && !isAssociationClass(cut[0])) {
            const std::string line = "3 " + cut[0] + "collection encountered exception: std::bad_alloc";
            EXPECT_EQ(std::count(outcome.log.begin(), outcome.log.end(), line), 1);
        } else if (!cut.empty()) {
            EXPECT_EQ(told, 0);  // a failed association logs nothing
        }
        // Only lines of the class that ended are missing: the drives have the first two, then each class has one.
        const std::vector<std::string> usual = withoutExhaustion(outcome.log);
        auto next = usual.begin();
        std::set<std::string> classesMissing;
        for (std::size_t i = 0; i < clean.log.size(); ++i) {
            if (next != usual.end() && *next == clean.log[i])
                ++next;
            else
                classesMissing.insert(allClasses()[i == 0 ? 0 : i - 1]);
        }
        EXPECT_EQ(next, usual.end());
        EXPECT_LE(classesMissing.size(), 1U);
        if (told == 1 && !classesMissing.empty()) {
            const std::string line =
                "3 " + *classesMissing.begin() + "collection encountered exception: std::bad_alloc";
            EXPECT_EQ(std::count(outcome.log.begin(), outcome.log.end(), line), 1);
        }
    }

    void expectNothingBehindTheFirst(const Outcome& outcome) const {
        bool ended = false;
        for (const std::string& className : allClasses()) {
            const std::vector<Texts> wanted = ended ? std::vector<Texts>() : due(className, outcome);
            EXPECT_TRUE(isBeginningOf(outcome.of(className), wanted)) << className;
            if (outcome.of(className) != wanted) ended = true;
        }
        EXPECT_TRUE(isBeginningOf(outcome.log, clean.log));
    }

    FakeOs machine;
    FullRequest request;
    Outcome clean;
};

TEST_F(AllocationFault, OnceCostsOneClassOrTheRequest) {
    const int allocations = countOf(Kind::operatorNew);
    RecordProperty("allocations", allocations);
    ASSERT_GT(allocations, 100);
    int requestsEnded = 0;
    int classesEnded = 0;
    for (int number = 1; number <= allocations && !HasFailure(); ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number) + " of " + std::to_string(allocations));
        const Outcome outcome = runWithFailure(Kind::operatorNew, number, Fault::once);
        if (outcome.failure) {
            ++requestsEnded;
            EXPECT_EQ(*outcome.failure, std::bad_alloc().what());
            expectNothingBehindTheFirst(outcome);
        } else {
            classesEnded += classesCutShort(outcome).empty() ? 0 : 1;
            expectOneClassSuffers(outcome);
        }
        EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
    }
    EXPECT_GT(classesEnded, requestsEnded);  // most allocations are inside the guards of a class
    EXPECT_GT(requestsEnded, 0);
}

TEST_F(AllocationFault, FromThenOnKeepsWhatWasPublishedBefore) {
    const int allocations = countOf(Kind::operatorNew);
    for (int number = 1; number <= allocations && !HasFailure(); ++number) {
        SCOPED_TRACE("from allocation " + std::to_string(number) + " of " + std::to_string(allocations) + " on");
        const Outcome outcome = runWithFailure(Kind::operatorNew, number, Fault::fromThenOn);
        if (outcome.failure) {
            EXPECT_EQ(*outcome.failure, std::bad_alloc().what());
        }
        expectNothingBehindTheFirst(outcome);
        EXPECT_EQ(differences(request.run(), clean), "") << "the next request";
    }
}

TEST_F(AllocationFault, AGptArrayThatCannotBeAllocatedHasNoEntries) {
    ASSERT_EQ(countOf(Kind::calloc), 2);  // counting the partitions of the drive, and listing them
    Outcome counted = clean;
    for (Texts& drive : counted.published["VEXSG_DiskDrive"])
        if (drive["DeviceID"] == "/dev/sdb") drive["NoOfPartitions"] = "0";
    EXPECT_EQ(differences(runWithFailure(Kind::calloc, 1, Fault::once), counted), "");

    Outcome listed = clean;
    std::vector<Texts>& partitions = listed.published["VEXSG_DiskPartition"];
    partitions.erase(std::remove_if(partitions.begin(), partitions.end(),
                                    [](Texts& texts) { return texts["DeviceID"].find("/dev/sdb") == 0; }),
                     partitions.end());
    for (auto& [className, instances] : listed.published)
        if (isAssociationClass(className)) instances = pairsOf(className, listed);
    EXPECT_EQ(differences(runWithFailure(Kind::calloc, 2, Fault::once), listed), "");
    EXPECT_EQ(differences(request.run(), clean), "");
}

}  // namespace
