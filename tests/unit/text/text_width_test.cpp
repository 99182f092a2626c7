// Sizes for people, and texts made to fit a terminal.
#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>

#include "text/display_width.h"
#include "text/size_text.h"

namespace diskmgt {
namespace {

TEST(Sizes, LargestUnitThatLeavesAtLeastOne) {
    EXPECT_EQ(compactSize(0), "0B");
    EXPECT_EQ(compactSize(512), "512B");
    EXPECT_EQ(compactSize(1023), "1023B");
    EXPECT_EQ(compactSize(1024), "1K");
    EXPECT_EQ(compactSize(1536), "1.5K");
    EXPECT_EQ(compactSize(UINT64_C(1000204886016)), "931.5G");
    EXPECT_EQ(compactSize(UINT64_C(1) << 60U), "1E");
}

TEST(Sizes, RoundsToTheNearestTenthAndIntoTheNextUnit) {
    EXPECT_EQ(compactSize(1024 + 51), "1K");    // 1.0498
    EXPECT_EQ(compactSize(1024 + 52), "1.1K");  // 1.0508
    EXPECT_EQ(compactSize(2048 - 1), "2K");
    EXPECT_EQ(compactSize(1048576 - 1), "1M");
    EXPECT_EQ(compactSize(UINT64_MAX), "16E");
}

TEST(Sizes, InSentencesTheUnitIsSpelledOut) {
    EXPECT_EQ(sizeText(512), "512 B");
    EXPECT_EQ(sizeText(1536), "1.5 KiB");
    EXPECT_EQ(sizeText(UINT64_C(1000204886016)), "931.5 GiB");
    EXPECT_EQ(sizeText(UINT64_MAX), "16 EiB");
}

class DisplayWidth : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) GTEST_SKIP() << "there is no locale C.UTF-8";
    }
    void TearDown() override { (void)std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(DisplayWidth, CountsColumnsAndEscapes) {
    EXPECT_EQ(displayWidth(""), 0U);
    EXPECT_EQ(displayWidth("/dev/sda"), 8U);
    EXPECT_EQ(displayWidth("\xC3\xA4"), 1U);
    EXPECT_EQ(displayWidth("\xE6\x97\xA5"), 2U);  // a wide character
    EXPECT_EQ(displayWidth("e\xCC\x81"), 1U);     // a combining one
    EXPECT_EQ(displayWidth("\u202Ea"), 2U);       // a mark of writing direction, which is replaced
    EXPECT_EQ(displayWidth("\n"), 4U);
    EXPECT_EQ(displayWidth("\xFF"), 4U);
    EXPECT_EQ(displayWidth("\xC2\x9B"), 8U);
    EXPECT_EQ(displayWidth("\xE6\x97"), 8U);  // cut short
    EXPECT_EQ(displayWidth("\\x41"), 7U);     // must not pass for an escape
}

TEST_F(DisplayWidth, ForeignBytesAreEscapedWhereTheLocaleIsAscii) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
    EXPECT_EQ(displayWidth("\xC3\xA4"), 8U);
}

TEST_F(DisplayWidth, AShortenedTextFitsAndShowsThatItIs) {
    EXPECT_EQ(shortened("/dev/sda", 8, Keep::kBeginning), "/dev/sda");
    EXPECT_EQ(shortened("/dev/sda", 7, Keep::kBeginning), "/dev...");
    EXPECT_EQ(shortened("/dev/mapper/vg-root", 11, Keep::kBothEnds), "/dev...root");
    EXPECT_EQ(shortened("/dev/sda", 3, Keep::kBothEnds), "...");
    EXPECT_EQ(shortened("/dev/sda", 0, Keep::kBothEnds), "");
}

TEST_F(DisplayWidth, NoCharacterIsCutInTwo) {
    const std::string wide = "\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5\xE6\x97\xA5";  // eight columns
    EXPECT_EQ(shortened(wide, 6, Keep::kBeginning), "\xE6\x97\xA5...");
    EXPECT_EQ(shortened(wide, 7, Keep::kBothEnds), "\xE6\x97\xA5...\xE6\x97\xA5");
    for (std::size_t width = 0; width < 10; ++width)
        EXPECT_LE(displayWidth(shortened(wide, width, Keep::kBothEnds)), width);
}

}  // namespace
}  // namespace diskmgt
