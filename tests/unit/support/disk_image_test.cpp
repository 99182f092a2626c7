// Disk recipes put bytes at the given places.
#include "tests/support/disk_image.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

using diskmgt_test::DiskImage;

TEST(DiskImage, PutsASlotIntoTheTableOfItsSector) {
    const std::string bytes = DiskImage().slot(2, 0x83, 0x01020304, 0x05060708, 3, 0x80).allBytes();
    const std::string expected("\x80\0\0\0\x83\0\0\0\x04\x03\x02\x01\x08\x07\x06\x05", 16);
    EXPECT_EQ(bytes.substr(3 * 512 + 446 + 32, 16), expected);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\0'), static_cast<std::ptrdiff_t>(bytes.size()) - 10);
}

TEST(DiskImage, PutsAGptWhereTheHeaderAndTheEntriesBelong) {
    const std::string bytes =
        DiskImage().gpt(128).gptEntry(2, "C12A7328-F81F-11D2-BA4B-00A0C93EC93B", 0x22, 0x3344).allBytes();
    EXPECT_EQ(bytes[450], '\xEE');
    EXPECT_EQ(bytes[512 + 80], '\x80');
    EXPECT_EQ(bytes.substr(1024 + 128, 4), "\x28\x73\x2A\xC1");
    EXPECT_EQ(bytes[1024 + 128 + 32], '\x22');
    EXPECT_EQ(bytes.substr(1024 + 128 + 40, 2), "\x44\x33");
}

TEST(DiskImage, GrowsByWholeSectorsAndIsCutToTheByte) {
    EXPECT_EQ(DiskImage(0).bytes(1000, "x").sizeBytes(), 1024U);
    DiskImage image = DiskImage(0).bytes(500, std::string(100, 'x')).cutAt(520);
    EXPECT_EQ(image.allBytes(), std::string(500, '\0') + std::string(20, 'x'));
    image.cutAt(600);  // what was cut off is gone
    EXPECT_EQ(image.allBytes(), std::string(500, '\0') + std::string(20, 'x') + std::string(80, '\0'));
}

TEST(DiskImage, ReadsAcrossSectorsAndNoFurtherThanItsEnd) {
    const DiskImage image = DiskImage(2048).bytes(510, "abcd").bytes(2040, "end");
    char buffer[64];
    ASSERT_EQ(image.readAt(509, buffer, 6), 6U);
    EXPECT_EQ(std::string(buffer, 6), std::string("\0abcd\0", 6));
    EXPECT_EQ(image.readAt(2040, buffer, sizeof buffer), 8U);
    EXPECT_EQ(image.readAt(2048, buffer, sizeof buffer), 0U);
}

TEST(DiskImage, RefusesMalformedGuids) {
    for (const char* const text : {"", "C12A7328", "C12A7328-F81F-11D2-BA4B-00A0C93EC93G",
                                   "C12A7328F81F-11D2-BA4B-00A0C93EC93B-", "c12a7328-f81f-11d2-ba4b-00a0c93ec93b0"})
        EXPECT_THROW((void)diskmgt_test::guidBytes(text), std::invalid_argument) << text;
}

TEST(DiskImage, WritesItselfToAFile) {
    std::string file = (std::filesystem::temp_directory_path() / "disk-image-XXXXXX").string();
    const int created = ::mkstemp(file.data());
    ASSERT_GE(created, 0);
    ASSERT_EQ(::close(created), 0);
    const DiskImage image = DiskImage(100000).slot(0, 0x83, 1, 2).slot(3, 0x05, 1, 2, 9).cutAt(99999);
    image.writeTo(file);
    std::ifstream in(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), image.allBytes());
    std::filesystem::remove(file);
    EXPECT_THROW(image.writeTo("/nonexistent/disk.img"), std::runtime_error);
}

}  // namespace
