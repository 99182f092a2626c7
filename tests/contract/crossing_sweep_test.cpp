// Every call of a request fails once, and then from there on, in every way: the process lives and the next request
// equals a clean one.
#include <gtest/gtest.h>

#include <stdexcept>

#include "plugin/host/tal_exception.h"
#include "tests/contract/plugin_session.h"

namespace contract {
namespace {

using second_host::Call;
using second_host::Refusal;

const std::vector<std::string> kClasses = {"VEXSG_LogicalDisk", "VEXSG_PartitionPresent", "VEXSG_TapeDrive",
                                           "VEXSG_LogicalDiskBasedOnPartition", "VEXSG_MediaPresent"};
constexpr int kLogicalDisks = 2;  // that a request may build: the machine may have hundreds of mounts

/// What a request leaves behind.
struct Outcome {
    std::vector<second_host::LogLine> log;
    std::vector<std::map<std::string, std::string>> published;
    bool operator==(const Outcome& other) const { return log == other.log && published == other.published; }
};

class CrossingSweep : public ::testing::TestWithParam<Refusal> {
protected:
    /// An instance of every class to be paired, so that associations are built whatever the machine has; and a rule
    /// that counts the calls and asks `refusal` about each by its number.
    void prepare(std::function<Refusal(std::size_t)> refusal) {
        loaded.nameSpace = second_host::Namespace::create();
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
        loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
        loaded.nameSpace->seed("VEXSG_LogicalDisk", {{"DeviceID", "/dev/sdq1"}});
        loaded.host.clearRecords();
        calls = 0;
        created = 0;
        loaded.host.refuse([this, refusal](const Call& call) {
            const bool isLogicalDisk = call.operation == "CreateInstance" && call.className == "VEXSG_LogicalDisk";
            if (isLogicalDisk && ++created > kLogicalDisks) return Refusal::kNull;  // passed over, and not counted
            return refusal(++calls);
        });
    }

    Outcome cleanRequest() {
        prepare([](std::size_t) { return Refusal::kNone; });
        loaded.request(kClasses);
        Outcome outcome{loaded.host.log(), {}};
        for (const std::string& name : kClasses) {
            for (const auto& instance : loaded.nameSpace->instances(name)) {
                outcome.published.push_back(instance->texts());
                outcome.published.back().erase("FreeSpace");  // others use it all the time
            }
        }
        return outcome;
    }

    /// The failure may end the request, with the exception that was raised or with the plug-in's own for a null.
    void requestThatMayFail() {
        try {
            loaded.request(kClasses);
        } catch (const NVEXTAL20::TTALException&) {
            EXPECT_EQ(GetParam(), Refusal::kTalException);
        } catch (const std::runtime_error&) {
            EXPECT_TRUE(GetParam() == Refusal::kStandardException || GetParam() == Refusal::kNull);
        } catch (int) {
            EXPECT_EQ(GetParam(), Refusal::kForeignException);
        }
    }

    Loaded loaded;
    std::size_t calls = 0;
    int created = 0;
};

TEST_P(CrossingSweep, AnyCallMayFailAndTheNextRequestIsClean) {
    const Outcome clean = cleanRequest();
    const std::size_t cleanCalls = calls;
    ASSERT_GT(cleanCalls, 60U);
    for (const bool fromThenOn : {false, true}) {
        for (std::size_t n = 1; n <= cleanCalls; ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(cleanCalls) +
                         (fromThenOn ? " and on" : ""));
            prepare([&](std::size_t number) {
                return number == n || (fromThenOn && number > n) ? GetParam() : Refusal::kNone;
            });
            requestThatMayFail();
            EXPECT_GE(calls, n) << "the failure was never reached";
            if (HasFailure()) return;
        }
        EXPECT_EQ(cleanRequest(), clean);
    }
}

INSTANTIATE_TEST_SUITE_P(Failures, CrossingSweep,
                         ::testing::Values(Refusal::kNull, Refusal::kTalException, Refusal::kStandardException,
                                           Refusal::kForeignException),
                         [](const auto& row) {
                             switch (row.param) {
                                 case Refusal::kNull:
                                     return "null_answer";
                                 case Refusal::kTalException:
                                     return "host_exception";
                                 case Refusal::kStandardException:
                                     return "standard_exception";
                                 default:
                                     return "foreign_exception";
                             }
                         });

}  // namespace
}  // namespace contract
