// The settings of property tests.
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/detail/Configuration.h>
#include <rapidcheck/detail/TestListenerAdapter.h>

#include <vector>

namespace diskmgt_test {
namespace {

TEST(PropertyTesting, AFailingPropertyIsNotShrunk) {
    int cases = 0;
    const auto property = [&] {
        const auto numbers = *rc::gen::container<std::vector<int>>(20, rc::gen::arbitrary<int>());
        ++cases;
        RC_ASSERT(numbers.empty());
    };
    rc::detail::TestListenerAdapter quiet;  // this failure is expected
    const auto result =
        rc::detail::checkTestable(property, rc::detail::TestMetadata(), rc::detail::configuration().testParams, quiet);
    EXPECT_TRUE(result.is<rc::detail::FailureResult>());
    EXPECT_EQ(cases, 2);  // once to find it, once to describe it
}

}  // namespace
}  // namespace diskmgt_test
