// Values to text, text to pieces.
#include "base/text.h"

#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <limits>
#include <locale>
#include <sstream>

namespace {

using diskmgt_col::dataToString;
using diskmgt_col::multiStringTok;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Texts = std::vector<std::string>;

Texts split(std::string text, char delimiter = ',') { return multiStringTok(text, delimiter); }

/// What a stream writes in the classic locale.
template <typename T>
std::string streamed(T value) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << value;
    return stream.str();
}

/// A locale that groups thousands.
struct GroupedDigits : std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Texts with many separators.
rc::Gen<std::string> separatedText() {
    return rc::gen::container<std::string>(rc::gen::element(',', ',', ' ', 'a', '\0'));
}

TEST(DataToString, WritesNegativeIntegersWithALeadingMinus) { EXPECT_EQ(dataToString<int>(-5), "-5"); }

TEST(DataToString, WritesTheLimitsOfEveryIntegerWidth) {
    EXPECT_EQ(dataToString<int>(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(dataToString<int>(std::numeric_limits<int>::max()), "2147483647");
    EXPECT_EQ(dataToString<int>(0), "0");
    EXPECT_EQ(dataToString<unsigned int>(0), "0");
    EXPECT_EQ(dataToString<unsigned int>(std::numeric_limits<unsigned int>::max()), "4294967295");
    EXPECT_EQ(dataToString<unsigned long>(0), "0");
    EXPECT_EQ(dataToString<unsigned long>(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
}

TEST(DataToString, WritesACharAsItselfNotAsItsCode) {
    EXPECT_EQ(dataToString<char>('A'), "A");
    EXPECT_EQ(dataToString<char>('7'), "7");
    EXPECT_EQ(dataToString<char>('\0'), std::string(1, '\0'));
    EXPECT_EQ(dataToString<char>('\xFF'), "\xFF");
}

TEST(DataToString, KeepsCharacterStringsAsTheyAre) {
    char changeable[] = " /mnt/a b\n";
    EXPECT_EQ(dataToString<char*>(changeable), " /mnt/a b\n");
    EXPECT_EQ(dataToString<const char*>("/dev/sda"), "/dev/sda");
    EXPECT_EQ(dataToString<const char*>(""), "");
}

TEST(DataToString, GivesTheEmptyTextForANullString) {
    EXPECT_EQ(dataToString<const char*>(nullptr), "");
    EXPECT_EQ(dataToString<char*>(nullptr), "");
}

TEST(DataToString, GroupsNoDigitsInAnyProcessLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new GroupedDigits));
    EXPECT_EQ(dataToString<int>(-1234567), "-1234567");
    EXPECT_EQ(dataToString<unsigned int>(1234567), "1234567");
    EXPECT_EQ(dataToString<unsigned long>(536870912), "536870912");
    std::locale::global(before);
}

RC_GTEST_PROP(DataToString, EqualsWhatAStreamWritesForInts, ()) {
    const int value = *rc::gen::arbitrary<int>();
    RC_ASSERT(dataToString<int>(value) == streamed(value));
}

RC_GTEST_PROP(DataToString, EqualsWhatAStreamWritesForUnsignedInts, ()) {
    const unsigned int value = *rc::gen::arbitrary<unsigned int>();
    RC_ASSERT(dataToString<unsigned int>(value) == streamed(value));
}

RC_GTEST_PROP(DataToString, EqualsWhatAStreamWritesForUnsignedLongs, ()) {
    const unsigned long value = *rc::gen::arbitrary<unsigned long>() >> *rc::gen::inRange(0, 64);
    RC_ASSERT(dataToString<unsigned long>(value) == streamed(value));
}

TEST(DataToString, EqualsWhatAStreamWritesAroundEveryPowerOfTwo) {
    for (int bit = 0; bit < 64; ++bit)
        for (const int step : {-1, 0, 1}) {
            const unsigned long value = (1UL << bit) + static_cast<unsigned long>(step);
            EXPECT_EQ(dataToString<unsigned long>(value), streamed(value));
            EXPECT_EQ(dataToString<unsigned int>(static_cast<unsigned int>(value)),
                      streamed(static_cast<unsigned int>(value)));
            EXPECT_EQ(dataToString<int>(static_cast<int>(value)), streamed(static_cast<int>(value)));
        }
}

TEST(MultiStringTok, DropsEmptyPieces) { EXPECT_THAT(split("a,,b,"), ElementsAre("a", "b")); }

TEST(MultiStringTok, KeepsWhiteSpace) { EXPECT_THAT(split(" a, b"), ElementsAre(" a", " b")); }

TEST(MultiStringTok, GivesNothingForEmptyTextAndForDelimitersAlone) {
    EXPECT_THAT(split(""), IsEmpty());
    EXPECT_THAT(split(","), IsEmpty());
    EXPECT_THAT(split(",,,"), IsEmpty());
}

TEST(MultiStringTok, GivesTheWholeTextWithoutDelimiters) { EXPECT_THAT(split("/boot"), ElementsAre("/boot")); }

TEST(MultiStringTok, DropsLeadingDelimiters) { EXPECT_THAT(split(",,a"), ElementsAre("a")); }

TEST(MultiStringTok, SplitsAtTheGivenDelimiterOnly) {
    EXPECT_THAT(split("a,b;c", ';'), ElementsAre("a,b", "c"));
    EXPECT_THAT(split(std::string("a\0b", 3), '\0'), ElementsAre("a", "b"));
}

TEST(MultiStringTok, LeavesTheTextAlone) {
    std::string text = ",a,,b,";
    (void)multiStringTok(text, ',');
    EXPECT_EQ(text, ",a,,b,");
}

RC_GTEST_PROP(MultiStringTok, EqualsANaiveSplitWithoutEmptyPieces, ()) {
    const std::string text = *separatedText();
    Texts expected;
    std::string piece;
    for (const char character : text + ",") {
        if (character != ',') {
            piece.push_back(character);
        } else if (!piece.empty()) {
            expected.push_back(piece);
            piece.clear();
        }
    }
    RC_ASSERT(split(text) == expected);
}

RC_GTEST_PROP(MultiStringTok, GivesBackWhatWasJoined, ()) {
    const auto piece = rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::element('a', 'b', ' ', '\n')));
    const Texts pieces = *rc::gen::container<Texts>(piece);
    std::string joined;
    for (const std::string& one : pieces) joined += one + ",";
    RC_ASSERT(split(joined) == pieces);
}

}  // namespace
