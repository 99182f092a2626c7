#include "machine/block_devices.h"

#include <algorithm>
#include <cctype>

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

std::size_t digitsAt(std::string_view text, std::size_t from) {
    std::size_t end = from;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end - from;
}

/// The run of digits, or of other characters, that begins at `from`.
std::string_view runAt(std::string_view text, std::size_t from) {
    std::size_t end = from;
    while (end < text.size() && isDigit(text[end]) == isDigit(text[from])) ++end;
    return text.substr(from, end - from);
}

/// Negative, zero or positive.
int compareNumbers(std::string_view one, std::string_view other) {
    one.remove_prefix(std::min(one.find_first_not_of('0'), one.size()));
    other.remove_prefix(std::min(other.find_first_not_of('0'), other.size()));
    if (one.size() != other.size()) return one.size() < other.size() ? -1 : 1;
    return one.compare(other);
}

/// Disks of one driver share two letters, and a shorter name comes first: sdz, then sdaa.
int compareLetters(std::string_view one, std::string_view other) {
    constexpr std::size_t kDriver = 2;
    const int drivers = one.substr(0, kDriver).compare(other.substr(0, kDriver));
    if (drivers != 0) return drivers;
    if (one.size() != other.size()) return one.size() < other.size() ? -1 : 1;
    return one.compare(other);
}

}  // namespace

const char* nameOf(Kind kind) {
    constexpr const char* kNames[] = {
        "disk",    "partition", "lvm",    "crypt", "multipath",        "raid", "dm", "loop",
        "optical", "floppy",    "memory", "path",  "compressed-memory"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::optional<std::size_t> BlockDevices::find(std::string_view name) const {
    const std::string wanted(name);
    const auto found = std::lower_bound(
        devices.begin(), devices.end(), wanted,
        [](const BlockDevice& device, const std::string& text) { return comesBeforeNaturally(device.name, text); });
    if (found == devices.end() || found->name != wanted) return std::nullopt;
    return static_cast<std::size_t>(found - devices.begin());
}

VolumeKind volumeKindFrom(std::string_view uuid) {
    constexpr std::string_view kPartition = "part";
    if (startsWith(uuid, kPartition)) {
        const std::size_t digits = digitsAt(uuid, kPartition.size());
        const std::size_t dash = kPartition.size() + digits;
        const auto number = decimalFrom(uuid.substr(kPartition.size(), digits));
        if (number && dash < uuid.size() && uuid[dash] == '-') return {Kind::kPartition, number};
    }
    if (startsWith(uuid, "LVM-")) return {Kind::kLvm, {}};
    if (startsWith(uuid, "CRYPT-")) return {Kind::kCrypt, {}};
    if (startsWith(uuid, "mpath-")) return {Kind::kMultipath, {}};
    if (startsWith(uuid, "DMRAID-")) return {Kind::kRaid, {}};
    return {};
}

std::string diskOfPath(std::string_view name) {
    constexpr std::string_view kDriver = "nvme";
    if (!startsWith(name, kDriver)) return {};
    const std::size_t controller = kDriver.size() + digitsAt(name, kDriver.size());
    if (controller == kDriver.size() || controller >= name.size() || name[controller] != 'c') return {};
    const std::size_t space = controller + 1 + digitsAt(name, controller + 1);
    if (space == controller + 1 || space >= name.size() || name[space] != 'n') return {};
    const std::size_t digits = digitsAt(name, space + 1);
    if (digits == 0 || space + 1 + digits != name.size()) return {};
    return std::string(name.substr(0, controller)) + std::string(name.substr(space));
}

std::optional<std::uint64_t> partitionNumberIn(std::string_view name, std::string_view disk) {
    if (disk.empty() || !startsWith(name, disk)) return std::nullopt;
    name.remove_prefix(disk.size());
    if (isDigit(disk.back())) {
        if (!startsWith(name, "p")) return std::nullopt;
        name.remove_prefix(1);
    }
    return decimalFrom(name);
}

bool comesBeforeNaturally(const std::string& one, const std::string& other) {
    std::size_t inOne = 0;
    std::size_t inOther = 0;
    while (inOne < one.size() && inOther < other.size()) {
        const std::string_view a = runAt(one, inOne);
        const std::string_view b = runAt(other, inOther);
        int order = 0;
        if (isDigit(a.front()) != isDigit(b.front()))
            order = isDigit(a.front()) ? -1 : 1;
        else
            order = isDigit(a.front()) ? compareNumbers(a, b) : compareLetters(a, b);
        if (order != 0) return order < 0;
        inOne += a.size();
        inOther += b.size();
    }
    const std::size_t leftInOne = one.size() - inOne;
    const std::size_t leftInOther = other.size() - inOther;
    if (leftInOne == 0 && leftInOther == 0) return one < other;  // they differ in leading zeros only
    return leftInOne == 0 && leftInOther != 0;
}

}  // namespace diskmgt_machine
