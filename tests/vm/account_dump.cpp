// Prints the kernel's account of this server in the form of an inventory document's `devices` and `fileSystems`, with
// what is seen to use each device beside it. `account_dump --names`: the names of all devices, one a line.
#include <initializer_list>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "machine/disk_links.h"
#include "machine/machine.h"
#include "machine/udev_record.h"
#include "machine/uses.h"

namespace {

using namespace diskmgt_machine;
using nlohmann::json;

class Dump {
public:
    explicit Dump(const Machine& machine)
        : account(machine), uses(machine), hidden(hiddenByLaterMount(machine.mounts)) {}

    json document() const {
        json devices = json::array();
        for (std::size_t i = 0; i < account.blocks.devices.size(); ++i) devices.push_back(deviceAt(i));
        json fileSystems = json::array();
        for (std::size_t i = 0; i < account.mounts.size(); ++i) {
            if (!uses.devicesOf(i).empty()) continue;
            const Mount& mount = account.mounts[i];
            fileSystems.push_back({{"source", mount.source}, {"mounts", json::array({mountAt(i)})}});
        }
        const bool isComplete = account.blocks.error == 0 && account.mountError == 0 && account.swapError == 0;
        return {{"complete", isComplete}, {"devices", devices}, {"fileSystems", fileSystems}};
    }

private:
    json namesAt(const std::vector<std::size_t>& positions) const {
        json names = json::array();
        for (const std::size_t position : positions) names.push_back(account.blocks.devices[position].name);
        return names;
    }

    static void addTexts(json& row, std::initializer_list<std::pair<const char*, const std::string&>> texts) {
        for (const auto& [key, text] : texts)
            if (!text.empty()) row[key] = text;
    }

    json mountAt(std::size_t position) const {
        const Mount& mount = account.mounts[position];
        json row{{"mountPoint", mount.mountPoint},
                 {"root", mount.root},
                 {"fileSystem", mount.type},
                 {"options", mount.options},
                 {"id", mount.id}};
        if (hidden[position]) row["rule"] = "hidden-by-later-mount";
        return row;
    }

    json deviceAt(std::size_t position) const {
        const BlockDevice& device = account.blocks.devices[position];
        json row{{"name", device.name},      {"path", device.path()},         {"kind", nameOf(device.kind)},
                 {"on", namesAt(device.on)}, {"readOnly", device.isReadOnly}, {"removable", device.isRemovable},
                 {"hidden", device.isHidden}};
        if (device.number) row["number"] = textOf(*device.number);
        if (device.sizeBytes) row["size"] = *device.sizeBytes;
        if (device.sectorSize) row["sectorSize"] = *device.sectorSize;
        if (device.isRotational) row["rotational"] = *device.isRotational;
        if (device.partitionNumber) row["partition"]["number"] = *device.partitionNumber;
        if (device.startBytes) row["partition"]["start"] = *device.startBytes;
        const UdevRecord udev = device.number ? readUdevRecord(*device.number) : UdevRecord();
        addTexts(row["partition"], {{"uuid", udev.partitionUuid},
                                    {"type", udev.partitionType},
                                    {"name", udev.partitionName},
                                    {"table", udev.partitionTable}});
        if (row["partition"].empty()) row.erase("partition");
        addTexts(row, {{"volume", device.volume},
                       {"level", device.level},
                       {"backing", device.backingFile},
                       {"model", device.identity.model},
                       {"serial", device.identity.serial},
                       {"wwid", device.identity.wwid},
                       {"content", udev.content},
                       {"label", udev.label},
                       {"uuid", udev.uuid}});
        for (const std::size_t mount : uses.mountsOn(position)) row["mounts"].push_back(mountAt(mount));
        for (const Swap& swap : account.swaps)
            if (uses.deviceNamed(swap.path) == position)
                row["swap"] = {{"size", swap.sizeBytes}, {"used", swap.usedBytes}};
        const auto named = links.find(device.name);
        if (named != links.end())
            for (const DiskLink& link : named->second) row["links"].push_back(link.folder + "/" + link.name);
        row["use"] = useAt(position);
        return row;
    }

    json useAt(std::size_t position) const {
        const InUse use = uses.of(position);
        json mountPoints = json::array();
        for (const std::size_t mount : use.mounts) mountPoints.push_back(account.mounts[mount].mountPoint);
        return {{"seen", use.any()},
                {"holders", namesAt(use.holders)},
                {"mountPoints", mountPoints},
                {"swap", !use.swaps.empty()},
                {"btrfsMember", !use.btrfs.empty()}};
    }

    const Machine& account;
    Uses uses;
    std::vector<bool> hidden;
    std::map<std::string, std::vector<DiskLink>> links = readDiskLinks();
};

}  // namespace

int main(int argumentCount, char** arguments) {
    const Machine machine = readMachine();
    if (argumentCount > 1 && std::string_view(arguments[1]) == "--names")
        for (const BlockDevice& device : machine.blocks.devices) std::cout << device.name << '\n';
    else
        std::cout << Dump(machine).document().dump(1, ' ', false, json::error_handler_t::replace) << '\n';
    return 0;
}
