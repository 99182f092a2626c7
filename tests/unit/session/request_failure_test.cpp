// Which requests failed, and in whose words.
#include "session/request_failure.h"

#include <gmock/gmock.h>

namespace diskmgt {
namespace {

using testing::StartsWith;

std::string clauseOf(int severity, const std::string& text) {
    return failureClause({{{severity, text}}, std::nullopt});
}

TEST(RequestFailure, IsNoneWhenAllWasServed) {
    EXPECT_EQ(failureClause({}), "");
    EXPECT_EQ(clauseOf(1, "a warning about an exception"), "");
    EXPECT_FALSE(failureIn({}).has_value());
}

TEST(RequestFailure, IsTheExceptionThatEndedTheRequest) {
    EXPECT_EQ(failureClause({{{0, "an error"}}, "broken"}), "the request ended early: broken");
}

TEST(RequestFailure, IsAnErrorLineBeforeACaughtException) {
    const std::string caught = "Attempted creation of instance for VEXSG_MediaPresent threw exception x";
    EXPECT_EQ(failureClause({{{3, caught}, {0, "first"}, {0, "second"}}, std::nullopt}), "an error was logged: first");
}

TEST(RequestFailure, IsACaughtExceptionOnlyInThePlugInsOwnWords) {
    EXPECT_EQ(clauseOf(3, "VEXSG_DiskDrivecollection encountered exception: x"),
              "an exception was logged: VEXSG_DiskDrivecollection encountered exception: x");
    EXPECT_EQ(clauseOf(3, "VEXSG_DiskDrivecollection encountered exception"), "");
    EXPECT_THAT(clauseOf(3, "Attempted creation of instance for VEXSG_MediaPresent threw exception x"),
                StartsWith("an exception was logged: Attempted creation"));
    EXPECT_EQ(clauseOf(3, "An Attempted creation of instance for VEXSG_MediaPresent"), "");
}

TEST(RequestFailure, QuotesTheLineThatFailedAndNoEarlierOneWithItsWords) {
    EXPECT_EQ(failureClause({{{3, "no exception so far"}, {3, "acollection encountered exception: x"}}, std::nullopt}),
              "an exception was logged: acollection encountered exception: x");
}

}  // namespace
}  // namespace diskmgt
