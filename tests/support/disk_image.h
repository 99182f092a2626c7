// DiskImage: a disk described as a recipe. What a test does not mention is zero.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace diskmgt_test {

constexpr std::uint64_t kSectorBytes = 512;

/// A sparse disk: sectors that were written, and a length. Grows to hold what is written into it, by whole sectors.
class DiskImage {
public:
    static constexpr std::uint64_t kDefaultBytes = std::uint64_t{1} << 20;

    /// A zeroed disk of that many bytes.
    explicit DiskImage(std::uint64_t sizeBytes = kDefaultBytes) : length(sizeBytes) {}

    /// One of the four entries (0 to 3) of the MBR or extended boot record in sector `tableSector`.
    DiskImage& slot(unsigned index, std::uint8_t type, std::uint32_t startSector, std::uint32_t sectorCount,
                    std::uint64_t tableSector = 0, std::uint8_t bootIndicator = 0);
    /// A protective MBR (type 0xEE in slot 0) and a GPT header with this number of entries.
    DiskImage& gpt(std::int32_t entryCount);
    /// The number of entries in the GPT header alone.
    DiskImage& gptCount(std::int32_t entryCount);
    /// GPT entry `number`, from 1; the type GUID in its canonical, hyphenated form.
    DiskImage& gptEntry(unsigned number, const std::string& typeGuid, std::uint64_t firstLba, std::uint64_t lastLba);
    /// Bytes as they appear on the disk.
    DiskImage& bytes(std::uint64_t offset, const std::string& content);
    /// Unsigned little-endian integer of `width` bytes.
    DiskImage& little(std::uint64_t offset, std::uint64_t value, unsigned width);
    /// The disk ends here: bytes from `sizeBytes` on are lost, or zeroes are added.
    DiskImage& cutAt(std::uint64_t sizeBytes);

    std::uint64_t sizeBytes() const noexcept { return length; }
    /// Copies at most `size` bytes from `offset` on and returns their number.
    std::size_t readAt(std::uint64_t offset, char* buffer, std::size_t size) const;
    /// The whole disk; for small ones.
    std::string allBytes() const;
    /// Writes the disk to a sparse file, replacing it. Throws `std::runtime_error`.
    void writeTo(const std::string& file) const;

private:
    std::uint64_t length;
    std::map<std::uint64_t, std::array<char, kSectorBytes>> sectors;  // by number; absent ones are zero
};

/// The sixteen bytes of a GUID as a GPT stores them. Throws `std::invalid_argument` for anything but the canonical
/// form.
std::string guidBytes(const std::string& canonical);

}  // namespace diskmgt_test
