#include "tests/support/disk_image.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace diskmgt_test {
namespace {

constexpr std::uint64_t kTableOffset = 446;  // of the four entries within their sector
constexpr std::uint64_t kSlotBytes = 16;
constexpr std::uint64_t kGptCountOffset = 592;  // header in sector 1, its field at 80
constexpr std::uint64_t kGptEntriesOffset = 1024;
constexpr std::uint64_t kGptEntryBytes = 128;

std::string littleBytes(std::uint64_t value, unsigned width) {
    std::string stored;
    for (unsigned i = 0; i < width; ++i) stored.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    return stored;
}

}  // namespace

std::string guidBytes(const std::string& canonical) {
    static const std::string shape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    std::string digits;
    if (canonical.size() != shape.size()) throw std::invalid_argument("not a GUID: " + canonical);
    for (std::size_t i = 0; i < shape.size(); ++i) {
        const bool isHyphen = canonical[i] == '-';
        if (isHyphen != (shape[i] == '-') ||
            (!isHyphen && std::string("0123456789abcdefABCDEF").find(canonical[i]) == std::string::npos))
            throw std::invalid_argument("not a GUID: " + canonical);
        if (!isHyphen) digits.push_back(canonical[i]);
    }
    std::string written;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        written.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    // The first three groups are integers and lie little-endian; the last two are bytes.
    std::reverse(written.begin(), written.begin() + 4);
    std::reverse(written.begin() + 4, written.begin() + 6);
    std::reverse(written.begin() + 6, written.begin() + 8);
    return written;
}

DiskImage& DiskImage::slot(unsigned index, std::uint8_t type, std::uint32_t startSector, std::uint32_t sectorCount,
                           std::uint64_t tableSector, std::uint8_t bootIndicator) {
    if (index > 3) throw std::out_of_range("a table has the slots 0 to 3");
    const std::uint64_t offset = tableSector * kSectorBytes + kTableOffset + index * kSlotBytes;
    little(offset, bootIndicator, 1);
    little(offset + 4, type, 1);
    little(offset + 8, startSector, 4);
    return little(offset + 12, sectorCount, 4);
}

DiskImage& DiskImage::gpt(std::int32_t entryCount) {
    slot(0, 0xEE, 1, 0xFFFFFFFF);
    return gptCount(entryCount);
}

DiskImage& DiskImage::gptCount(std::int32_t entryCount) {
    return little(kGptCountOffset, static_cast<std::uint32_t>(entryCount), 4);
}

DiskImage& DiskImage::gptEntry(unsigned number, const std::string& typeGuid, std::uint64_t firstLba,
                               std::uint64_t lastLba) {
    if (number == 0) throw std::out_of_range("entries are numbered from 1");
    const std::uint64_t offset = kGptEntriesOffset + (number - 1) * kGptEntryBytes;
    bytes(offset, guidBytes(typeGuid));
    little(offset + 32, firstLba, 8);
    return little(offset + 40, lastLba, 8);
}

DiskImage& DiskImage::bytes(std::uint64_t offset, const std::string& content) {
    for (std::size_t i = 0; i < content.size(); ++i) {
        const std::uint64_t at = offset + i;
        sectors[at / kSectorBytes][at % kSectorBytes] = content[i];  // a new sector is value-initialised: zeroes
    }
    const std::uint64_t end = offset + content.size();
    if (end > length) length = (end + kSectorBytes - 1) / kSectorBytes * kSectorBytes;
    return *this;
}

DiskImage& DiskImage::little(std::uint64_t offset, std::uint64_t value, unsigned width) {
    return bytes(offset, littleBytes(value, width));
}

DiskImage& DiskImage::cutAt(std::uint64_t sizeBytes) {
    length = sizeBytes;
    sectors.erase(sectors.lower_bound((sizeBytes + kSectorBytes - 1) / kSectorBytes), sectors.end());
    const auto last = sectors.find(sizeBytes / kSectorBytes);  // the sector that the cut goes through
    if (last != sectors.end())
        std::fill(last->second.begin() + static_cast<std::ptrdiff_t>(sizeBytes % kSectorBytes), last->second.end(),
                  '\0');
    return *this;
}

std::size_t DiskImage::readAt(std::uint64_t offset, char* buffer, std::size_t size) const {
    if (offset >= length) return 0;
    const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, length - offset));
    std::fill_n(buffer, count, '\0');
    const std::uint64_t end = offset + count;
    for (auto sector = sectors.lower_bound(offset / kSectorBytes); sector != sectors.end(); ++sector) {
        const std::uint64_t first = sector->first * kSectorBytes;
        if (first >= end) break;
        const std::uint64_t from = std::max(first, offset);
        const std::uint64_t to = std::min(first + kSectorBytes, end);
        std::copy(sector->second.begin() + static_cast<std::ptrdiff_t>(from - first),
                  sector->second.begin() + static_cast<std::ptrdiff_t>(to - first), buffer + (from - offset));
    }
    return count;
}

std::string DiskImage::allBytes() const {
    std::string all(static_cast<std::size_t>(length), '\0');
    readAt(0, all.data(), all.size());
    return all;
}

void DiskImage::writeTo(const std::string& file) const {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (length > 0) {
        out.seekp(static_cast<std::streamoff>(length - 1));
        out.put('\0');  // the last byte sets the length; the rest is a hole
    }
    for (const auto& [number, content] : sectors) {
        const std::uint64_t first = number * kSectorBytes;
        out.seekp(static_cast<std::streamoff>(first));
        out.write(content.data(), static_cast<std::streamsize>(std::min(kSectorBytes, length - first)));
    }
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file);
}

}  // namespace diskmgt_test
