// Decoding of table bytes, and the numbers of GPT types.
#include "collect/partition_format.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "collect/partition_table_parser.h"
#include "tests/support/disk_image.h"
#include "tests/support/literal_parser.h"

namespace {

using diskmgt_col::ByteView;
using diskmgt_col::GUID_t;
using diskmgt_col::partTypeNumParser;
using diskmgt_test::guidBytes;

GUID_t guidFrom(const std::string& bytes) {
    GUID_t guid;
    std::memcpy(&guid, bytes.data(), sizeof guid);
    return guid;
}

struct TypeCase {
    const char* label;
    const char* guid;
    const char* number;
};

class GptTypeNumber : public ::testing::TestWithParam<TypeCase> {};

TEST_P(GptTypeNumber, IsTheOneOfItsGuid) {
    EXPECT_EQ(partTypeNumParser(guidFrom(guidBytes(GetParam().guid))), GetParam().number);
}

/// Compared as a whole: any changed bit makes another type.
TEST_P(GptTypeNumber, ChangesWithEveryBitOfTheGuid) {
    const std::string known = guidBytes(GetParam().guid);
    for (std::size_t bit = 0; bit < 128; ++bit) {
        std::string other = known;
        other[bit / 8] = static_cast<char>(other[bit / 8] ^ (1 << (bit % 8)));
        EXPECT_EQ(partTypeNumParser(guidFrom(other)), "0") << "bit " << bit;
    }
}

INSTANTIATE_TEST_SUITE_P(PartTypeNumParser, GptTypeNumber,
                         ::testing::Values(TypeCase{"mbr_scheme", "024DEE41-33E7-11D3-9D69-0008C781F39F", "5"},
                                           TypeCase{"efi_system", "C12A7328-F81F-11D2-BA4B-00A0C93EC93B", "6"},
                                           TypeCase{"bios_boot", "21686148-6449-6E6F-744E-656564454649", "7"},
                                           TypeCase{"microsoft_reserved", "E3C9E316-0B5C-4DB8-817D-F92DF00215AE", "8"},
                                           TypeCase{"microsoft_basic_data", "EBD0A0A2-B9E5-4433-87C0-68B6B72699C7",
                                                    "9"},
                                           TypeCase{"ldm_metadata", "5808C8AA-7E8F-42E0-85D2-E1E90434CFB3", "10"},
                                           TypeCase{"ldm_data", "AF9B60A0-1431-4F62-BC68-3311714A69AD", "11"},
                                           TypeCase{"windows_recovery", "DE94BBA4-06D1-4D40-A16A-BFD50179D6AC", "12"},
                                           TypeCase{"linux_raid", "A19D880F-05FC-4D3B-A006-743F0F84911E", "13"},
                                           TypeCase{"linux_swap", "0657FD6D-A4AB-43C4-84E5-0933C84B4F4F", "14"},
                                           TypeCase{"linux_lvm", "E6D6D379-F507-44C2-A23C-238F2A3DF928", "15"},
                                           TypeCase{"linux_reserved", "8DA63339-0007-60C0-C436-083AC8230908", "16"},
                                           TypeCase{"linux_data", "0FC63DAF-8483-4772-8E79-3D69D8477DE4", "17"},
                                           TypeCase{"vmware_vmfs", "AA31E02A-400F-11DB-9590-000C2911D1B8", "19"}),
                         [](const auto& row) { return std::string(row.param.label); });

TEST(PartTypeNumParser, AZeroFirstHalfIsType19WithAnySecondHalf) {
    const std::string zeroes(8, '\0');
    EXPECT_EQ(partTypeNumParser(guidFrom(zeroes + "\x01\x02\x03\x04\x05\x06\x07\x08")), "19");
    EXPECT_EQ(partTypeNumParser(guidFrom(zeroes + std::string(8, '\xFF'))), "19");
    EXPECT_EQ(partTypeNumParser(guidFrom(zeroes + zeroes)), "19");
    EXPECT_EQ(partTypeNumParser(guidFrom(zeroes + guidBytes("C12A7328-F81F-11D2-BA4B-00A0C93EC93B").substr(8))), "19");
}

TEST(PartTypeNumParser, AnUnknownTypeIsZero) {
    EXPECT_EQ(partTypeNumParser(guidFrom(guidBytes("01234567-89AB-CDEF-0123-456789ABCDEF"))), "0");
    EXPECT_EQ(partTypeNumParser(guidFrom(std::string(16, '\xFF'))), "0");
    EXPECT_EQ(partTypeNumParser(guidFrom("\x01" + std::string(15, '\0'))), "0");
}

TEST(PartTypeNumParser, NeverGivesTheNumbersFourAndEighteen) {
    for (int first = 0; first < 256; ++first) {
        const std::string number = partTypeNumParser(guidFrom(static_cast<char>(first) + std::string(15, '\x5A')));
        EXPECT_EQ(number, "0");
    }
}

TEST(GuidBytes, StoresTheFirstThreeGroupsLittleEndian) {
    EXPECT_EQ(guidBytes("C12A7328-F81F-11D2-BA4B-00A0C93EC93B"),
              "\x28\x73\x2A\xC1\x1F\xF8\xD2\x11\xBA\x4B" + std::string(1, '\0') + "\xA0\xC9\x3E\xC9\x3B");
}

TEST(GuidBytes, FillTheFieldsOfAGuidInOrder) {
    const GUID_t guid = guidFrom(guidBytes("C12A7328-F81F-11D2-BA4B-00A0C93EC93B"));
    EXPECT_EQ(guid.data1, 0xC12A7328U);
    EXPECT_EQ(guid.data2, 0xF81F);
    EXPECT_EQ(guid.data3, 0x11D2);
    EXPECT_THAT(guid.data4, ::testing::ElementsAre(0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9, 0x3B));
}

TEST(PartitionDescriptor, IsTheSixteenBytesOfASlot) {
    std::string slots(64, '\0');
    slots.replace(16, 16, std::string("\x80\x01\x02\x03\x83\x04\x05\x06\x78\x56\x34\x92\xF0\xDE\xBC\x9A", 16));
    const auto entry = diskmgt_col::slotAt(ByteView(slots.data(), slots.size()), 1);
    EXPECT_EQ(entry.bootIndicator, 0x80);
    EXPECT_THAT(entry.startChs, ::testing::ElementsAre(1, 2, 3));
    EXPECT_EQ(entry.partitionTypeId, 0x83);
    EXPECT_THAT(entry.endChs, ::testing::ElementsAre(4, 5, 6));
    EXPECT_EQ(entry.startSector, 0x92345678U);
    EXPECT_EQ(entry.sectorCount, 0x9ABCDEF0U);
}

TEST(PartitionDescriptor, IsEmptyWhenTheBytesEndBeforeIt) {
    const std::string slots(64, '\x83');
    for (std::size_t length = 0; length <= slots.size(); ++length)
        for (std::size_t index = 0; index < 4; ++index)
            EXPECT_EQ(diskmgt_col::slotAt(ByteView(slots.data(), length), index).isUsed(), (index + 1) * 16 <= length);
}

TEST(IsProtective, LooksAtTheFirstTypeByteAlone) {
    for (int type = 0; type < 256; ++type) {
        std::string slot(16, '\xEE');
        slot[4] = static_cast<char>(type);
        EXPECT_EQ(diskmgt_col::isProtective(ByteView(slot.data(), slot.size())), type == 0xEE);
    }
    EXPECT_FALSE(diskmgt_col::isProtective(ByteView("\xEE\xEE\xEE\xEE", 4)));
}

TEST(GptEntryCount, IsSigned32BitsLittleEndian) {
    std::string header(512, '\xA5');
    const auto countOf = [&header](const std::string& stored) {
        header.replace(80, 4, stored);
        return diskmgt_col::gptEntryCount(ByteView(header.data(), header.size()));
    };
    EXPECT_EQ(countOf(std::string("\x80\0\0\0", 4)), 128);
    EXPECT_EQ(countOf("\xFF\xFF\xFF\xFF"), -1);
    EXPECT_EQ(countOf("\xFF\xFF\xFF\x7F"), 2147483647);
    EXPECT_EQ(countOf(std::string("\0\0\0\x80", 4)), -2147483647 - 1);
    EXPECT_EQ(countOf(std::string("\x04\x03\x02\x01", 4)), 0x01020304);
}

TEST(GptEntryCount, IsZeroWhenTheHeaderEndsBeforeIt) {
    const std::string header(84, '\x01');
    for (std::size_t length = 0; length < 84; ++length)
        EXPECT_EQ(diskmgt_col::gptEntryCount(ByteView(header.data(), length)), 0);
    EXPECT_EQ(diskmgt_col::gptEntryCount(ByteView(header.data(), 84)), 0x01010101);
}

TEST(GptEntryAt, IsAbsentWhenTheBytesEndBeforeItsEnd) {
    const std::string entries(256, '\x07');
    for (std::size_t length = 0; length <= entries.size(); ++length) {
        const ByteView view(entries.data(), length);
        EXPECT_EQ(diskmgt_col::gptEntryAt(view, 0).has_value(), length >= 128);
        EXPECT_EQ(diskmgt_col::gptEntryAt(view, 128).has_value(), length >= 256);
        EXPECT_FALSE(diskmgt_col::gptEntryAt(view, static_cast<std::size_t>(-64)).has_value());
    }
}

TEST(LiteralTypeNumber, KnowsTheSameTypesByTheirStoredBytes) {
    EXPECT_EQ(diskmgt_test::literalTypeNumber(guidBytes("C12A7328-F81F-11D2-BA4B-00A0C93EC93B")), "6");
    EXPECT_EQ(diskmgt_test::literalTypeNumber(std::string(16, '\x07')), "0");
}

}  // namespace
