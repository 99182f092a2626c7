#include "inventory/drive_map.h"

#include <algorithm>

#include "inventory/device_texts.h"
#include "machine/arrangement.h"

namespace diskmgt {

namespace {

using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using Positions = std::vector<std::size_t>;

/// A partition with the logical ones that an extended one holds.
struct Entry {
    std::size_t device = 0;
    std::uint64_t start = 0;
    std::uint64_t size = 0;
    std::vector<Entry> logicals;
};

std::uint64_t endOf(const Entry& entry) { return entry.start + std::min(entry.size, UINT64_MAX - entry.start); }

class Mapping {
public:
    Mapping(const ServerAccount& shown, std::size_t pictured) : account(shown), disk(pictured) {}

    DriveMap take() {
        std::vector<Entry> entries = topEntries();
        const std::uint64_t whole = account.device(disk).sizeBytes.value_or(0);
        map.stretches = map.isPlaced ? fill(entries, 0, whole, "the end of the disk") : inOrder(entries, whole);
        return std::move(map);
    }

private:
    std::vector<Entry> topEntries() {
        constexpr std::uint64_t kFirstLogical = 5;
        std::vector<Entry> entries;
        Entry* extended = nullptr;
        std::vector<Entry> logicals;
        for (const std::size_t position : account.device(disk).carries) {
            const BlockDevice& device = account.device(position);
            if (device.disk != disk) continue;  // a volume
            map.isPlaced = map.isPlaced && device.startBytes.has_value();
            const Entry entry{position, device.startBytes.value_or(0), device.sizeBytes.value_or(0), {}};
            (device.partitionNumber.value_or(0) >= kFirstLogical ? logicals : entries).push_back(entry);
        }
        for (Entry& entry : entries)
            if (extended == nullptr && isExtended(account, entry.device)) extended = &entry;
        if (extended == nullptr) {
            entries.insert(entries.end(), logicals.begin(), logicals.end());
            return entries;
        }
        const auto& answer = account.devices[extended->device].partition;  // the kernel gives it another size
        if (answer && answer->size) extended->size = std::max(extended->size, *answer->size);
        for (const Entry& logical : logicals)
            if (logical.start >= extended->start)
                extended->size = std::max(extended->size, endOf(logical) - extended->start);
        extended->logicals = std::move(logicals);
        return entries;
    }

    /// Fills the bytes from `begin` to `end`.
    std::vector<Stretch> fill(std::vector<Entry>& entries, std::uint64_t begin, std::uint64_t end, const char* whole) {
        std::stable_sort(entries.begin(), entries.end(),
                         [](const Entry& one, const Entry& other) { return one.start < other.start; });
        std::vector<Stretch> stretches;
        std::uint64_t reached = begin;
        for (Entry& entry : entries) {
            if (entry.start < reached && entry.start >= begin) noteOddity(entry, " overlaps what lies before it");
            if (endOf(entry) > end || entry.start < begin) noteOddity(entry, std::string(" reaches past ") + whole);
            const std::uint64_t from = std::min(std::max(entry.start, reached), end);
            const std::uint64_t to = std::min(std::max(endOf(entry), from), end);
            if (from > reached) stretches.push_back({std::nullopt, from - reached, {}});
            stretches.push_back({entry.device, to - from, {}});
            if (!entry.logicals.empty())
                stretches.back().inner =
                    fill(entry.logicals, entry.start, endOf(entry), "the end of its extended partition");
            reached = to;
        }
        if (end > reached) stretches.push_back({std::nullopt, end - reached, {}});
        return stretches;
    }

    void noteOddity(const Entry& entry, const std::string& what) {
        map.oddities.push_back(account.device(entry.device).path() + what + ".");
    }

    /// What the sizes leave of the whole stands behind them.
    static std::vector<Stretch> inOrder(const std::vector<Entry>& entries, std::uint64_t whole) {
        std::vector<Stretch> stretches;
        for (const Entry& entry : entries) {
            stretches.push_back({entry.device, entry.size, {}});
            if (!entry.logicals.empty()) stretches.back().inner = inOrder(entry.logicals, entry.size);
            whole -= std::min(whole, entry.size);
        }
        if (whole > 0) stretches.push_back({std::nullopt, whole, {}});
        return stretches;
    }

    const ServerAccount& account;
    const std::size_t disk;
    DriveMap map;
};

}  // namespace

DriveMap mapOfDrive(const ServerAccount& account, std::size_t disk) { return Mapping(account, disk).take(); }

std::vector<DeviceGroup> deviceGroups(const ServerAccount& account) {
    const std::size_t count = account.devices.size();
    std::vector<bool> isShown(count);
    for (std::size_t i = 0; i < count; ++i) isShown[i] = !isLeftOut(account, i);
    std::vector<DeviceGroup> groups;
    Positions beneath(count, count);  // where each is whole; itself: as a root
    Positions path;
    for (const diskmgt_machine::ArrangedRow& place : diskmgt_machine::arrange(account.machine.blocks, isShown)) {
        path.resize(place.depth);
        if (place.depth == 0) groups.push_back({place.device, {}});
        DeviceRow row{place.device, place.depth, std::nullopt};
        if (place.isReference)
            row.shownBeneath = beneath[place.device];
        else
            beneath[place.device] = path.empty() ? place.device : path.back();
        path.push_back(place.device);
        groups.back().rows.push_back(row);
    }
    return groups;
}

std::uint64_t capacityOf(const ServerAccount& account) {
    const auto sizeOf = [&account](std::size_t device) { return account.device(device).sizeBytes.value_or(0); };
    std::uint64_t sum = 0;
    std::vector<bool> isCounted(account.devices.size());
    for (std::size_t i = 0; i < account.devices.size(); ++i) {
        if (account.device(i).kind != Kind::kMultipath) continue;
        const Positions& paths = account.device(i).on;
        for (const std::size_t path : paths) isCounted[path] = true;
        const auto isDisk = [&account](std::size_t path) { return account.device(path).kind == Kind::kDisk; };
        if (std::any_of(paths.begin(), paths.end(), isDisk)) sum += sizeOf(i);
    }
    for (std::size_t i = 0; i < account.devices.size(); ++i)
        if (account.device(i).kind == Kind::kDisk && !isCounted[i]) sum += sizeOf(i);
    return sum;
}

Space spaceOnDevices(const ServerAccount& account) {
    Space sum;
    sum.available = 0;
    for (const DeviceAccount& device : account.devices) {
        const auto measured = std::find_if(device.mounts.begin(), device.mounts.end(), [&account](std::size_t mount) {
            return account.mounts[mount].space.has_value();
        });
        if (measured == device.mounts.end()) continue;
        const Space& space = *account.mounts[*measured].space;
        sum.total += space.total;
        sum.free += space.free;
        *sum.available += space.available.value_or(0);
    }
    return sum;
}

}  // namespace diskmgt
