// A server described twice: as the kernel has it and as CIM has it, to be joined.
#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "inventory/server_account.h"
#include "tests/unit/inventory/published_scene.h"

namespace diskmgt {

class JoinedScene {
public:
    JoinedScene() {
        collection.facts.devices.emplace();
        collection.facts.mountTable.emplace();
        collection.facts.figures.emplace();
    }

    /// A disk that the kernel lists and the collecting process opened.
    DeviceFacts& disk(const std::string& name, std::uint64_t size, bool isCandidate = true) {
        const diskmgt_machine::DeviceNumber number{8, nextMinor++};
        diskmgt_machine::BlockDevice& device = machine.blocks.devices.emplace_back();
        device.name = name;
        device.number = number;
        device.sizeBytes = size;
        device.sectorSize = 512;
        DeviceFacts& facts = collection.facts.devices->devices.emplace_back();
        facts.path = "/dev/" + name;
        facts.name = name;
        facts.isListed = facts.hasNode = facts.isTried = facts.hasBootSignature = facts.hasSysfsDirectory = true;
        facts.isCandidate = isCandidate;
        facts.nodeNumber = number;
        facts.sysfs.sizeLine = std::to_string(size / 512);
        facts.sysfs.sectorCount = size / 512;
        facts.sysfs.majorNumber = 8;
        facts.sizeBytes = size;
        facts.logicalSectorSize = 512;
        return facts;
    }

    /// A partition of the disk listed last, as the kernel has it.
    diskmgt_machine::BlockDevice& partition(const std::string& name, std::uint64_t number, std::uint64_t start,
                                            std::uint64_t size) {
        std::size_t disk = machine.blocks.devices.size() - 1;
        if (const auto above = machine.blocks.devices[disk].disk) disk = *above;
        const std::size_t position = machine.blocks.devices.size();
        diskmgt_machine::BlockDevice& device = machine.blocks.devices.emplace_back();
        device.name = name;
        device.number = diskmgt_machine::DeviceNumber{8, nextMinor++};
        device.kind = diskmgt_machine::Kind::kPartition;
        device.partitionNumber = number;
        device.startBytes = start;
        device.sizeBytes = size;
        device.disk = disk;
        device.on = {disk};
        machine.blocks.devices[disk].carries.push_back(position);
        return device;
    }

    /// Of the device with that name, or of none; measured.
    void mount(const std::string& device, const std::string& source, const std::string& point,
               const std::string& type = "ext4") {
        diskmgt_machine::Mount mount;
        mount.id = machine.mounts.size() + 20;
        mount.number = {0, static_cast<std::uint32_t>(mount.id)};
        if (const auto found = machine.blocks.find(device)) mount.number = *machine.blocks.devices[*found].number;
        mount.parent = machine.mounts.empty() ? 1 : machine.mounts.front().id;
        mount.root = "/";
        mount.mountPoint = point;
        mount.type = type;
        mount.source = source;
        machine.mounts.push_back(mount);
        MountFacts& facts = collection.facts.mountTable->mounts.emplace_back();
        facts.source = source;
        facts.mountPoint = point;
        facts.type = type;
        for (const MountFacts& earlier : collection.facts.mountTable->mounts)
            if (&earlier != &facts && earlier.source == source && !facts.isLater) {
                facts.isLater = true;
                facts.firstMountPoint = earlier.mountPoint;
            }
        collection.facts.figures->push_back(
            {mount.id, mount.number, MountFigure::Outcome::kMeasured, 0, {100, 60, 50, false}});
    }

    DeviceFacts& factsOf(const std::string& path) {
        for (DeviceFacts& facts : collection.facts.devices->devices)
            if (facts.path == path) return facts;
        return collection.facts.devices->devices.emplace_back();
    }

    /// Devices must be in natural order by now.
    ServerAccount joined() {
        collection.inventory = cim.arranged();
        return joinAccounts(machine, collection);
    }

    PublishedScene cim;
    diskmgt_machine::Machine machine;
    Collection collection;

private:
    std::uint32_t nextMinor = 0;
};

/// The row of a device. The account must outlive it.
inline const DeviceAccount& rowOf(const ServerAccount& account, const std::string& name) {
    return account.devices.at(account.machine.blocks.find(name).value());
}

/// The rules of an answer, in order.
inline std::vector<std::string> rulesOf(const std::vector<Reason>& reasons) {
    std::vector<std::string> rules;
    for (const Reason& reason : reasons) rules.push_back(reason.rule);
    return rules;
}

}  // namespace diskmgt
