// The settings of property tests.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace diskmgt_test {
namespace {

TEST(PropertyTesting, AFailingPropertyIsNotShrunk) {
    const char* const settings = std::getenv("RC_PARAMS");
    ASSERT_NE(settings, nullptr);
    if (std::string(settings).find("noshrink=0") != std::string::npos) GTEST_SKIP() << "RC_PARAMS asks for shrinking";
    int cases = 0;
    EXPECT_FALSE(rc::check("this property is made to fail, its report is no failure", [&] {
        const auto numbers = *rc::gen::container<std::vector<int>>(20, rc::gen::arbitrary<int>());
        ++cases;
        RC_ASSERT(numbers.empty());
    }));
    EXPECT_EQ(cases, 2);  // once to find it, once to describe it
}

}  // namespace
}  // namespace diskmgt_test
