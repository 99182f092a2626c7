// Bounds-checked little-endian reads.
#include "base/byte_view.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using diskmgt_col::ByteView;

constexpr unsigned char kBytes[] = {0x01, 0x82, 0x03, 0x84, 0x05, 0x86, 0x07, 0x88, 0x09};

TEST(ByteView, ReadsTheLowestByteFirst) {
    const ByteView view(kBytes, sizeof kBytes);
    EXPECT_EQ(view.little<std::uint8_t>(1), 0x82);
    EXPECT_EQ(view.little<std::uint16_t>(0), 0x8201);
    EXPECT_EQ(view.little<std::uint32_t>(0), 0x84038201U);
    EXPECT_EQ(view.little<std::uint64_t>(0), 0x8807860584038201U);
}

TEST(ByteView, ReadsAtAnyAlignment) {
    const ByteView view(kBytes, sizeof kBytes);
    EXPECT_EQ(view.little<std::uint64_t>(1), 0x0988078605840382U);
    EXPECT_EQ(view.little<std::uint32_t>(3), 0x07860584U);
}

TEST(ByteView, GivesNothingForAFieldThatReachesPastTheEndAtEveryLength) {
    for (std::size_t length = 0; length <= sizeof kBytes; ++length)
        for (std::size_t offset = 0; offset <= sizeof kBytes + 1; ++offset) {
            const ByteView view(kBytes, length);
            EXPECT_EQ(view.little<std::uint8_t>(offset).has_value(), offset + 1 <= length);
            EXPECT_EQ(view.little<std::uint16_t>(offset).has_value(), offset + 2 <= length);
            EXPECT_EQ(view.little<std::uint32_t>(offset).has_value(), offset + 4 <= length);
            EXPECT_EQ(view.little<std::uint64_t>(offset).has_value(), offset + 8 <= length);
            EXPECT_EQ(view.record<std::uint64_t>(offset).has_value(), offset + 8 <= length);
        }
}

TEST(ByteView, RejectsARangeWhoseEndWrapsAround) {
    const ByteView view(kBytes, sizeof kBytes);
    constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
    EXPECT_FALSE(view.holds(kHuge, 2));
    EXPECT_FALSE(view.holds(2, kHuge));
    EXPECT_FALSE(view.holds(kHuge, kHuge));
    EXPECT_FALSE(view.little<std::uint32_t>(kHuge - 1).has_value());
}

TEST(ByteView, HoldsOnlyTheEmptyRangeAtItsEnd) {
    const ByteView view(kBytes, 4);
    EXPECT_TRUE(view.holds(4, 0));
    EXPECT_FALSE(view.holds(5, 0));
    EXPECT_TRUE(ByteView(nullptr, 0).holds(0, 0));
    EXPECT_EQ(view.size(), 4U);
}

TEST(ByteView, CopiesRecordsUnchanged) {
    struct Pair {
        unsigned char first;
        unsigned char second;
    };
    const auto copied = ByteView(kBytes, sizeof kBytes).record<Pair>(3);
    ASSERT_TRUE(copied.has_value());
    EXPECT_EQ(copied->first, 0x84);
    EXPECT_EQ(copied->second, 0x05);
}

}  // namespace
