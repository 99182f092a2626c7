// Lists, counts and paragraphs for people.
#include "text/wording.h"

#include <gtest/gtest.h>

#include "text/paragraph.h"

namespace diskmgt {
namespace {

TEST(Wording, ListsEndInAWord) {
    EXPECT_EQ(listed({}), "");
    EXPECT_EQ(listed({"a"}), "a");
    EXPECT_EQ(listed({"a", "b"}), "a and b");
    EXPECT_EQ(joinedWithOr({"a", "b", "c"}), "a, b or c");
}

TEST(Wording, DecimalsAreAsShortAsTheyCanBe) {
    EXPECT_EQ(decimalText(30), "30");
    EXPECT_EQ(decimalText(0.5), "0.5");
    EXPECT_EQ(decimalText(0.1 + 0.2), "0.30000000000000004");
}

TEST(Wording, LongListsEndInACount) {
    EXPECT_EQ(listed({"a", "b", "c", "d", "e", "f", "g", "h"}), "a, b, c, d, e, f, g and h");
    EXPECT_EQ(listed({"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}), "a, b, c, d, e, f, g, h and 2 more");
}

TEST(Wording, EmptyTextsKeepTheirPlaces) { EXPECT_EQ(joined({"", "a", ""}, ","), ",a,"); }

TEST(Wording, NoneIsSaidInAWord) {
    EXPECT_EQ(counted(0, "disk"), "no disks");
    EXPECT_EQ(counted(1, "disk"), "1 disk");
    EXPECT_EQ(counted(2, "disk"), "2 disks");
}

TEST(Wording, OnlyWhatIsNearIsProposed) {
    EXPECT_EQ(didYouMean({}), "");
    EXPECT_EQ(didYouMean({"get", "trace"}), ", did you mean get or trace?");
}

TEST(Paragraphs, LaterLinesStandUnderTheText) {
    EXPECT_EQ(paragraph("- ", "one two three", 9), "- one two\n  three\n");
    EXPECT_EQ(paragraph("- ", "one two three", 8), "- one\n  two\n  three\n");
    EXPECT_EQ(paragraph("", "one two", 7), "one two\n");
}

TEST(Paragraphs, AWordThatIsTooLongHasALineOfItsOwn) {
    EXPECT_EQ(paragraph("  ", "a /dev/mapper/long b", 8), "  a\n  /dev/mapper/long\n  b\n");
}

TEST(Paragraphs, WithoutAWidthThereIsOneLine) {
    EXPECT_EQ(paragraph("- ", "one\ntwo three", 0), "- one\\x0atwo three\n");
}

}  // namespace
}  // namespace diskmgt
