// Lines, fields, numbers and escapes.
#include "machine/texts.h"

#include <gmock/gmock.h>

#include "machine/device_number.h"

namespace diskmgt_machine {
namespace {

using ::testing::ElementsAre;

TEST(MachineTexts, OctalEscapesBecomeTheirBytes) {
    EXPECT_EQ(withoutOctalEscapes(R"(/mnt/a\040b\011c\012d\134e\043)"), "/mnt/a b\tc\nd\\e#");
    EXPECT_EQ(withoutOctalEscapes(R"(\303\244)"), "\xC3\xA4");
    EXPECT_EQ(withoutOctalEscapes(R"(\377)"), "\xFF");
}

TEST(MachineTexts, OtherTextThanOctalEscapesStays) {
    for (const char* const text :
         {R"(\)", R"(\0)", R"(\04)", R"(\089)", R"(\400)", R"(\777)", R"(a\ b)", R"(\-01)", ""})
        EXPECT_EQ(withoutOctalEscapes(text), text);
}

TEST(MachineTexts, AnEscapedBackslashDoesNotBeginAnotherEscape) {
    EXPECT_EQ(withoutOctalEscapes(R"(\134040)"), R"(\040)");
    EXPECT_EQ(withoutHexEscapes(R"(\x5cx20)"), R"(\x20)");
}

TEST(MachineTexts, HexadecimalEscapesBecomeTheirBytes) {
    EXPECT_EQ(withoutHexEscapes(R"(My\x20Data\x2f\xC3\xa4)"), "My Data/\xC3\xA4");
    for (const char* const text : {R"(\x)", R"(\x2)", R"(\xg0)", R"(\X20)", R"(\040)"})
        EXPECT_EQ(withoutHexEscapes(text), text);
}

TEST(MachineTexts, NumbersAreDigitsOnly) {
    EXPECT_EQ(decimalFrom("0"), 0U);
    EXPECT_EQ(decimalFrom("18446744073709551615"), 18446744073709551615U);
    for (const char* const text : {"", " 1", "1 ", "-1", "+1", "0x1", "1\n", "18446744073709551616", "1,0"})
        EXPECT_EQ(decimalFrom(text), std::nullopt) << text;
}

TEST(MachineTexts, BytesAreCountedInUnitsAndMustFit) {
    EXPECT_EQ(bytesFrom("0", kSectorUnit), 0U);
    EXPECT_EQ(bytesFrom("3", kSectorUnit), 1536U);
    EXPECT_EQ(bytesFrom("36028797018963967", kSectorUnit), 18446744073709551104U);
    EXPECT_EQ(bytesFrom("36028797018963968", kSectorUnit), std::nullopt);
    EXPECT_EQ(bytesFrom("18014398509481983", 1024), 18446744073709550592U);
    EXPECT_EQ(bytesFrom("18014398509481984", 1024), std::nullopt);
    EXPECT_EQ(bytesFrom("", kSectorUnit), std::nullopt);
}

TEST(MachineTexts, BeginningIsAllOfItOrNothing) {
    EXPECT_TRUE(startsWith("LVM-x", "LVM-"));
    EXPECT_TRUE(startsWith("LVM-", "LVM-"));
    EXPECT_TRUE(startsWith("", ""));
    EXPECT_FALSE(startsWith("LVM", "LVM-"));
    EXPECT_FALSE(startsWith("xLVM-", "LVM-"));
}

TEST(MachineTexts, LinesEndAtLineEndsAndTheLastMayLackIts) {
    EXPECT_THAT(linesIn("a\n\nb"), ElementsAre("a", "", "b"));
    EXPECT_THAT(linesIn("a\n"), ElementsAre("a"));
    EXPECT_THAT(linesIn(""), ElementsAre());
    EXPECT_EQ(firstLineIn("a\nb"), "a");
}

TEST(MachineTexts, FieldsBetweenTwoBlanksAreEmpty) { EXPECT_THAT(fieldsIn("a  b "), ElementsAre("a", "", "b", "")); }

TEST(MachineTexts, PaddingOfDrivesIsTrimmedAtBothEnds) {
    EXPECT_EQ(trimmed(std::string_view("\0 \tWD 1\r\n \0", 11)), "WD 1");
    EXPECT_EQ(trimmed(" \n"), "");
}

TEST(MachineTexts, NodesInFoldersHaveAnExclamationMarkInSysfs) {
    EXPECT_EQ(nodeOfSysfsName("cciss!c0!d0"), "cciss/c0/d0");
    EXPECT_EQ(sysfsNameOfNode("cciss/c0/d0"), "cciss!c0!d0");
    EXPECT_EQ(nodeOfSysfsName("sda"), "sda");
}

TEST(DeviceNumber, IsTwoNumbersWithAColon) {
    const auto number = deviceNumberFrom("253:17");
    ASSERT_TRUE(number.has_value());
    EXPECT_EQ(number->majorNumber, 253U);
    EXPECT_EQ(number->minorNumber, 17U);
    EXPECT_EQ(textOf(*number), "253:17");
    for (const char* const text : {"", "8", "8:", ":0", "8:0:0", "8: 0", "4294967296:0", "8:4294967296", "8:0\n"})
        EXPECT_FALSE(deviceNumberFrom(text).has_value()) << text;
}

}  // namespace
}  // namespace diskmgt_machine
