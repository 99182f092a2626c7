// The literal reading in small steps, without shortcuts.
#include "tests/support/literal_parser.h"

#include <cstdint>
#include <sstream>

namespace diskmgt_test {
namespace {

using diskmgt_col::PropertyMap;
using Maps = std::vector<PropertyMap>;

/// A budget on the pairs of all maps of a GPT disk, each of which repeats those before it.
constexpr std::uint64_t kMostGptPairs = 2097152;

/// Continues where the last read ended, like a descriptor.
class Cursor {
public:
    explicit Cursor(const LiteralDisk& opened) : disk(opened) {}

    bool seek(std::uint64_t offset) {
        if (disk.isBlockDevice && offset > disk.bytes.size()) return false;
        position = offset;
        return true;
    }

    /// Where the next read begins.
    std::uint64_t place() const { return position; }

    /// The rest, at most `size` bytes.
    std::string read(std::uint64_t size) {
        if (position >= disk.bytes.size()) return "";
        const std::string got = disk.bytes.substr(position, size);
        position += got.size();
        return got;
    }

private:
    const LiteralDisk& disk;
    std::uint64_t position = 0;
};

std::uint64_t number(const std::string& bytes, std::size_t offset, int width) {
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i)
        value = value * 256 + static_cast<unsigned char>(bytes[offset + static_cast<std::size_t>(i)]);
    return value;
}

std::string decimal(std::uint64_t value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

std::string nameOf(const LiteralDisk& disk, const std::string& numberText, const std::string& marker) {
    const std::string base = disk.path + numberText;
    if (!contains(disk.path, marker)) return base;
    if (disk.existingPaths.count(base) == 1) return base;
    const std::string alternative = disk.path + "p" + numberText;
    if (disk.existingPaths.count(alternative) == 1) return alternative;
    return numberText;
}

bool isExtended(unsigned char type) { return type == 0x05 || type == 0x0F; }

/// 66 bytes, padded with zeros; empty when nothing was read.
std::string readTable(Cursor& cursor) {
    std::string table = cursor.read(66);
    if (!table.empty()) table.resize(66, '\0');
    return table;
}

/// The sixteen-byte entries of the table in that sector; with `inExtended` those of the whole chain.
std::vector<std::string> entriesOf(Cursor& cursor, std::uint64_t sector, bool inExtended) {
    std::vector<std::string> entries;
    (void)cursor.seek(sector * 512 + 446);  // on failure the table is read from the current position
    std::set<std::uint64_t> placesRead{cursor.place()};
    std::string table = readTable(cursor);
    while (!table.empty()) {
        bool linked = false;
        std::uint64_t next = 0;
        for (std::size_t slot = 0; slot < 4 && !linked; ++slot) {
            const std::string entry = table.substr(slot * 16, 16);
            const auto type = static_cast<unsigned char>(entry[4]);
            if (type == 0) continue;
            if (inExtended && isExtended(type)) {
                linked = true;
                next = sector + number(entry, 8, 4);
            } else {
                entries.push_back(entry);
            }
        }
        if (!linked) break;
        (void)cursor.seek(next * 512 + 446);
        if (!placesRead.insert(cursor.place()).second) break;
        table = readTable(cursor);
    }
    return entries;
}

Maps tableMaps(const LiteralDisk& disk, Cursor& cursor, std::uint64_t sector, bool inExtended) {
    Maps maps;
    std::uint64_t partition = inExtended ? 4 : 0;
    for (const std::string& entry : entriesOf(cursor, sector, inExtended)) {
        const auto type = static_cast<unsigned char>(entry[4]);
        const std::uint64_t start = number(entry, 8, 4);
        std::string kind = sector == 0 ? "1" : "3";
        if (isExtended(type)) {
            for (const PropertyMap& logical : tableMaps(disk, cursor, sector + start, true)) maps.push_back(logical);
            kind = "2";
        }
        const std::string name = nameOf(disk, decimal(++partition), "dev/nvme");
        PropertyMap map;
        map.insert({"PartitionType", kind});
        map.insert({"PartitionSubType", decimal(type)});
        map.insert({"Size", decimal(number(entry, 12, 4) * 512)});
        map.insert({"Bootable", entry[0] != 0 ? "true" : "false"});
        map.insert({"DeviceID", name});
        map.insert({"ElementName", name});
        map.insert({"StartingOffset", decimal(start * 512 % 4294967296 + 446)});
        map.insert({"FaultTolerant", "false"});
        maps.push_back(map);
    }
    return maps;
}

Maps gptMaps(const LiteralDisk& disk, Cursor& cursor) {
    (void)cursor.seek(512);  // not checked: on failure the header is read from the current position
    std::string header = cursor.read(512);
    header.resize(512, '\0');
    const std::uint64_t count = number(header, 80, 4);
    if (count == 0 || count > 0x7FFFFFFF) return {};  // the upper half of the range is negative
    std::string array = cursor.read(count * 128);
    array.resize((array.size() + 127) / 128 * 128, '\0');  // the slots behind stay zero and count as unused

    Maps maps;
    PropertyMap map;
    for (std::uint64_t slot = 1; slot <= array.size() / 128; ++slot) {
        const std::string entry = array.substr((slot - 1) * 128, 128);
        if (entry.substr(0, 16) == std::string(16, '\0')) continue;
        const std::uint64_t first = number(entry, 32, 8);
        const std::uint64_t last = number(entry, 40, 8);
        const std::string name = nameOf(disk, decimal(slot), "/dev/nvme");
        map.insert({"PartitionType", literalTypeNumber(entry.substr(0, 16))});
        map.insert({"Size", decimal((last + 1 - first) * 512)});
        map.insert({"Bootable", "true"});
        map.insert({"DeviceID", name});
        map.insert({"ElementName", name});
        map.insert({"StartingOffset", decimal(last)});
        map.insert({"FaultTolerant", "false"});
        maps.push_back(map);
        const std::uint64_t used = maps.size();
        if (7 * used * (used + 1) / 2 > kMostGptPairs) return {};
    }
    return maps;
}

}  // namespace

Maps literalPartitions(const LiteralDisk& disk) {
    if (contains(disk.path, "/dev/fd")) return {PropertyMap{}};  // a floppy is not read
    Cursor cursor(disk);
    std::string firstSlot;
    if (cursor.seek(446)) firstSlot = cursor.read(16);
    firstSlot.resize(16, '\0');
    (void)cursor.seek(0);
    if (static_cast<unsigned char>(firstSlot[4]) == 0xEE) return gptMaps(disk, cursor);
    return tableMaps(disk, cursor, 0, false);
}

std::string literalTypeNumber(const std::string& typeBytes) {
    static const struct {
        const char* typeNumber;
        const char* stored;  // the bytes as on disk
    } known[] = {
        {"5", "41EE4D02E733D3119D690008C781F39F"},  {"6", "28732AC11FF8D211BA4B00A0C93EC93B"},
        {"7", "4861682149646F6E744E656564454649"},  {"8", "16E3C9E35C0BB84D817DF92DF00215AE"},
        {"9", "A2A0D0EBE5B9334487C068B6B72699C7"},  {"10", "AAC808588F7EE04285D2E1E90434CFB3"},
        {"11", "A0609BAF3114624FBC683311714A69AD"}, {"12", "A4BB94DED106404DA16ABFD50179D6AC"},
        {"13", "0F889DA1FC053B4DA006743F0F84911E"}, {"14", "6DFD5706ABA4C44384E50933C84B4F4F"},
        {"15", "79D3D6E607F5C244A23C238F2A3DF928"}, {"16", "3933A68D0700C060C436083AC8230908"},
        {"17", "AF3DC60F838472478E793D69D8477DE4"}, {"19", "2AE031AA0F40DB119590000C2911D1B8"},
    };
    if (typeBytes.substr(0, 8) == std::string(8, '\0')) return "19";
    std::string digits;
    for (const char byte : typeBytes) {
        static const char* const hex = "0123456789ABCDEF";
        digits.push_back(hex[static_cast<unsigned char>(byte) / 16]);
        digits.push_back(hex[static_cast<unsigned char>(byte) % 16]);
    }
    for (const auto& row : known)
        if (digits == row.stored) return row.typeNumber;
    return "0";
}

}  // namespace diskmgt_test
