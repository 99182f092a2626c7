// Each call of a request fails in every way, once or with all later ones: the process lives, and the next request
// equals a clean one.
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "plugin/host/tal_exception.h"
#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::Call;
using second_host::Refusal;

const std::vector<std::string> kClasses = {"VEXSG_LogicalDisk", "VEXSG_PartitionPresent", "VEXSG_TapeDrive",
                                           "VEXSG_LogicalDiskBasedOnPartition", "VEXSG_MediaPresent"};
constexpr int kLogicalDisks = 2;  // the most that a request may build: the machine may have hundreds of mounts

/// The results of a request.
struct Outcome {
    std::vector<second_host::LogLine> log;
    std::vector<std::map<std::string, std::string>> published;
    bool operator==(const Outcome& other) const { return log == other.log && published == other.published; }
};

class CrossingSweep : public ::testing::TestWithParam<Refusal> {
protected:
    /// Publishes an instance of every class to be paired, so that associations are built on any machine. Counts the
    /// calls and passes the number of each to `refusal`.
    void prepare(std::function<Refusal(std::size_t)> refusal) {
        loaded.nameSpace = second_host::Namespace::create();
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdq"}});
        loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdq1"}});
        loaded.nameSpace->seed("VEXSG_LogicalDisk", {{"DeviceID", "/dev/sdq1"}});
        loaded.host.clearRecords();
        calls = 0;
        counted.clear();
        created = 0;
        loaded.host.refuse([this, refusal](const Call& call) {
            const bool isLogicalDisk = call.operation == "CreateInstance" && call.className == "VEXSG_LogicalDisk";
            if (isLogicalDisk && ++created > kLogicalDisks) return Refusal::kNull;  // skipped and not counted
            counted.push_back(call);
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
                outcome.published.back().erase("FreeSpace");  // other processes change it
            }
        }
        return outcome;
    }

    /// The kind of exception that ends the request, if any.
    Refusal requestThatMayFail() {
        try {
            loaded.request(kClasses);
        } catch (const NVEXTAL20::TTALException&) {
            return Refusal::kTalException;
        } catch (const std::runtime_error&) {
            return Refusal::kStandardException;
        } catch (int) {
            return Refusal::kForeignException;
        }
        return Refusal::kNone;
    }

    /// The operation whose failure must end the request when the n-th call (and all later ones, if said so) fails;
    /// nothing when the request must be served to its end.
    std::optional<std::string> whatEndsTheRequest(std::size_t n, bool fromThenOn) const {
        if (GetParam() == Refusal::kNull) return std::nullopt;
        const Call& failing = cleanCalls.at(n - 1);
        // Calls outside the work of a class. A class's name is queried once for its work, and again to log a failure.
        for (const char* outside : {"GetSystemName", "GetSystemCreationClassName", "IsAssociation", "GetName"}) {
            if (failing.operation == outside) return failing.operation;
        }
        std::string className;  // the class being served
        for (std::size_t i = 0; i < n; ++i) {
            if (cleanCalls[i].operation == "IsAssociation") className = cleanCalls[i].className;
        }
        const bool isInstanceClass = className == "VEXSG_LogicalDisk" || className == "VEXSG_TapeDrive";
        if (isInstanceClass && GetParam() == Refusal::kForeignException) return failing.operation;
        if (!fromThenOn) return std::nullopt;
        // Logging the failure fails too: a standard exception passes, the host's exception costs the line.
        if (isInstanceClass && GetParam() == Refusal::kStandardException) return "Log";
        if (className == kClasses.back()) return std::nullopt;
        return "IsAssociation";  // of the next class
    }

    Loaded loaded;
    std::vector<Call> cleanCalls;  // of a request without failures, less those for skipped instances
    std::vector<Call> counted;
    std::size_t calls = 0;
    int created = 0;
};

TEST_P(CrossingSweep, AnyCallMayFailAndTheNextRequestIsClean) {
    const Outcome clean = cleanRequest();
    cleanCalls = counted;
    ASSERT_GT(cleanCalls.size(), 60U);
    for (const bool fromThenOn : {false, true}) {
        for (std::size_t n = 1; n <= cleanCalls.size(); ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(cleanCalls.size()) +
                         (fromThenOn ? " and on: " : ": ") + cleanCalls[n - 1].operation);
            prepare([&](std::size_t number) {
                return number == n || (fromThenOn && number > n) ? GetParam() : Refusal::kNone;
            });
            const Refusal left = requestThatMayFail();
            EXPECT_GE(calls, n) << "the failure was never reached";
            const auto ending = whatEndsTheRequest(n, fromThenOn);
            EXPECT_EQ(left, ending.has_value() ? GetParam() : Refusal::kNone);
            if (ending.has_value()) {
                EXPECT_EQ(loaded.host.calls().back().operation, *ending);
            }
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
