// What calls to the host, two answers and open descriptors say about a plug-in.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "check/answer_difference.h"
#include "check/crossing_checks.h"
#include "check/open_descriptors.h"
#include "tests/unit/inventory/published_scene.h"

namespace diskmgt {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr int kThread = 10;

refhost::TraceEntry request(const std::vector<std::string>& classes) {
    refhost::TraceEntry entry;
    entry.byPlugin = false;
    entry.call = "getData";
    entry.arguments = {{"classes", classes}};
    entry.thread = kThread;
    return entry;
}

refhost::TraceEntry call(const std::string& name, int thread = kThread) {
    refhost::TraceEntry entry;
    entry.call = name;
    entry.thread = thread;
    return entry;
}

refhost::TraceEntry refused(const std::string& name, const std::string& why) {
    refhost::TraceEntry entry = call(name);
    entry.throws = why;
    return entry;
}

std::vector<std::string> shown(const CheckFindings& findings) {
    std::vector<std::string> lines;
    for (const CheckFinding& finding : findings) lines.push_back(finding.className + ": " + finding.text);
    return lines;
}

TEST(Crossings, WhatTheHostTakesIsNoFinding) {
    const std::vector<refhost::TraceEntry> trace{request({"A"}), call("createInstance"), call("commit")};
    EXPECT_THAT(checkRefusals(trace), IsEmpty());
    EXPECT_THAT(checkThread(trace, kThread), IsEmpty());
}

TEST(Crossings, ARefusalIsSaidOnceForEachClass) {
    const std::vector<refhost::TraceEntry> trace{request({"A"}), refused("setProperty", "no text fits"),
                                                 refused("setProperty", "no text fits"), request({"B"}),
                                                 refused("setProperty", "no text fits")};
    EXPECT_THAT(shown(checkRefusals(trace)), ElementsAre("A: the host refused setProperty: no text fits",
                                                         "B: the host refused setProperty: no text fits"));
}

TEST(Crossings, CallsOfAnotherThreadAreCountedByClass) {
    const std::vector<refhost::TraceEntry> trace{request({"A"}), call("commit"), request({"B"}), call("log", 11),
                                                 call("commit", 11)};
    EXPECT_THAT(shown(checkThread(trace, kThread)),
                ElementsAre("B: 2 calls on a thread that is not the request's, the first is log"));
}

TEST(Crossings, CallsAreThoseOfTheLastRequestForOneClass) {
    const std::vector<refhost::TraceEntry> trace{call("early"),       request({"A"}),     call("old"),
                                                 request({"A"}),      call("one"),        call("two"),
                                                 request({"A", "B"}), call("of several"), request({"C"})};
    EXPECT_THAT(callsByClass(trace), UnorderedElementsAre(Pair("A", ElementsAre("one", "two")), Pair("C", IsEmpty())));
}

TEST(Crossings, OperationsThatThrowAreFailures) {
    refhost::TraceEntry thrown = request({});
    thrown.call = "deInit";
    thrown.throws = "not now";
    EXPECT_THAT(shown(checkOperations({thrown, refused("log", "full")}, Check::kUnloads)),
                ElementsAre(": deInit threw: not now"));
}

using Answer = std::vector<refhost::Instance>;

struct Answers : ::testing::Test {
    /// A file system with these figures, as the only answer.
    Answer space(std::uint64_t total, std::uint64_t free) {
        scene.mountedWithSpace("/dev/sda1", "/", total, free);
        return {instancesOf(scene.published, "VEXSG_LogicalDisk").back()};
    }
    PublishedScene scene;
};

TEST_F(Answers, AreTheSameWhereOnlyFreeSpaceDiffers) {
    const Answer first = space(4096, 100);
    Answer second = space(4096, 200);
    EXPECT_EQ(differenceBetween(first, second), "");
    second.push_back(second.front());
    EXPECT_EQ(differenceBetween(first, second), "published 2 instances where it had published 1");
}

TEST_F(Answers, DifferInAValueANullOrAPath) {
    const Answer first = space(4096, 100);
    Answer second = space(8192, 100);
    EXPECT_EQ(differenceBetween(first, second),
              "TotalSpace was \"4096\", then \"8192\" in VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\"");
    for (refhost::PropertyValue& value : second.front().properties)
        if (value.declaration->name == "TotalSpace") value = {value.declaration, true, {}};
    EXPECT_EQ(differenceBetween(first, second),
              "TotalSpace was \"4096\", then null in VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\"");
    second.front().path = "another";
    EXPECT_EQ(differenceBetween(first, second),
              "published another where it had published VEXSG_LogicalDisk.DeviceID=\"/dev/sda1\"");
}

TEST(Descriptors, ThatAreOpenedClosedOrReplacedAreNamed) {
    const OpenDescriptors before{{3, "pipe:[1]"}, {4, "/etc/fstab"}, {5, "/dev/zero"}};
    const OpenDescriptors after{{4, "/dev/null"}, {5, "/dev/zero"}, {6, "/etc/hosts"}};
    EXPECT_THAT(descriptorChanges(before, after),
                UnorderedElementsAre("closes descriptor 3 (pipe:[1]), which is not its own",
                                     "leaves descriptor 4 (/dev/null) open in the place of /etc/fstab",
                                     "leaves descriptor 6 (/etc/hosts) open"));
}

TEST(Descriptors, OfThisProcessAreSeenButNotTheOneThatLooks) {
    const OpenDescriptors before = openDescriptors();
    const int opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_THAT(descriptorChanges(before, openDescriptors()),
                ElementsAre("leaves descriptor " + std::to_string(opened) + " (/dev/null) open"));
    (void)::close(opened);
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace diskmgt
