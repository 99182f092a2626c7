#include "cli/explain/published_pairs.h"

#include <algorithm>
#include <unordered_set>

#include "inventory/device_names.h"
#include "inventory/instance_values.h"
#include "inventory/use_text.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes and properties

const char* roleName(const std::string& association, bool ofDependent) {
    if (association == kPartitionPresent) return ofDependent ? "partition" : "drive";
    if (association == kMediaPresent) return ofDependent ? "file system" : "drive";
    return ofDependent ? "file system" : "partition";
}

}  // namespace

PublishedPairs::PublishedPairs(const ServerAccount& joined) : account(joined) {
    addSides();
    for (const std::string* const association : {&kPartitionPresent, &kLogicalDiskBasedOnPartition, &kMediaPresent})
        addPairs(*association);
}

void PublishedPairs::addSides() {
    std::unordered_map<const refhost::Instance*, std::vector<std::size_t>> places;
    for (std::size_t i = 0; i < account.devices.size(); ++i)
        for (const auto* const answer : {&account.devices[i].drive, &account.devices[i].partition})
            if (*answer && (*answer)->instance != nullptr) places[(*answer)->instance] = {i};
    std::unordered_map<const refhost::Instance*, std::size_t> mounts;
    for (std::size_t i = 0; i < account.mounts.size(); ++i)
        if (const refhost::Instance* const instance = account.mounts[i].logicalDisk.instance) {
            places[instance] = account.uses.devicesOf(i);
            mounts.emplace(instance, i);
        }
    const Inventory& inventory = account.inventory();
    const auto add = [&](Role role, const refhost::Instance& instance, const std::string& name,
                         const std::string& where) {
        const auto place = places.find(&instance);
        const bool isPlaced = place != places.end();
        sides.try_emplace(instance.path, Side{role, name, &instance,
                                              isPlaced ? place->second : std::vector<std::size_t>(), isPlaced, where});
    };
    for (const Drive& drive : inventory.drives) add(Role::kDrive, *drive.instance, drive.device, "");
    for (const Partition& partition : inventory.partitions)
        add(Role::kPartition, *partition.instance, partition.device, "");
    for (std::size_t i = 0; i < inventory.logicalDisks.size(); ++i) {
        const LogicalDisk& disk = inventory.logicalDisks[i];
        add(Role::kLogicalDisk, *disk.instance, disk.source, disk.mountPoint);
        logicalDisks.emplace(disk.instance, i);
    }
}

void PublishedPairs::addPairs(const std::string& association) {
    for (const refhost::Instance& pair : instancesOf(account.inventory().published, association)) {
        const auto antecedent = sides.find(diskmgt::textOf(pair, kAntecedent));
        const auto dependent = sides.find(diskmgt::textOf(pair, kDependent));
        if (antecedent == sides.end() || dependent == sides.end()) continue;
        for (const Side* const side : {&antecedent->second, &dependent->second})
            pairsOf[side->instance].push_back(pairs.size());
        pairs.push_back({&association, &antecedent->second, &dependent->second});
    }
}

bool PublishedPairs::isBeneath(std::size_t lower, const std::vector<std::size_t>& devices) const {
    std::vector<std::size_t> waiting = devices;
    std::unordered_set<std::size_t> seen(waiting.begin(), waiting.end());
    while (!waiting.empty()) {
        const std::size_t current = waiting.back();
        waiting.pop_back();
        if (current == lower) return true;
        for (const std::size_t next : account.device(current).on)
            if (seen.insert(next).second) waiting.push_back(next);
    }
    return false;
}

bool PublishedPairs::isRight(const Pair& pair) const {
    const Side& above = *pair.dependent;
    const Side& below = *pair.antecedent;
    if (above.isPlaced && below.isPlaced) {
        if (above.role != Role::kLogicalDisk || below.role == Role::kDrive)
            return isBeneath(below.devices.front(), above.devices);
        return contains(above.devices, below.devices.front());
    }
    // The kernel does not have one of them, so only the names are left to judge by.
    if (below.role == Role::kPartition) return above.name == below.name;
    if (above.role == Role::kPartition) return isPartitionOf(above.name, below.name);
    return isOnDrive(above.name, below.name) || above.name.find(below.name) == std::string::npos;  // by its link
}

std::string PublishedPairs::truthAbout(const Side& side) const {
    if (!side.isPlaced) return {};
    const bool isFileSystem = side.role == Role::kLogicalDisk;
    const Layers layers = layersBeneath(account, side.devices, isFileSystem);
    if (layers.empty()) return isFileSystem ? " It lies on no device that the kernel lists." : "";
    return " It lies on " + layersText(account, layers) + ".";
}

std::string PublishedPairs::textOf(const Pair& pair) const {
    const Side& above = *pair.dependent;
    const Side& below = *pair.antecedent;
    std::string text = std::string("CIM says that ") + roleName(*pair.association, true) + " " + above.name;
    if (!above.where.empty()) text += " (" + above.where + ")";
    text += std::string(" lies on ") + roleName(*pair.association, false) + " " + below.name +
            ", because one name contains the other." + truthAbout(above);
    if (below.role != Role::kPartition || !below.isPlaced) return text;
    std::vector<std::string> points;
    for (const std::size_t mount : account.uses.mountsOn(below.devices.front()))
        if (const std::string& point = account.machine.mounts[mount].mountPoint; !contains(points, point))
            points.push_back(point);
    if (!points.empty()) text += " On " + below.name + " lies " + listed(points) + ".";
    return text;
}

PairExplanation PublishedPairs::explained(const Pair& pair) const {
    PairExplanation explanation{*pair.association, pair.antecedent->name, pair.dependent->name, isRight(pair), ""};
    if (!explanation.isRight) explanation.text = textOf(pair);
    return explanation;
}

std::vector<PairExplanation> PublishedPairs::of(const refhost::Instance& instance) const {
    std::vector<PairExplanation> found;
    const auto positions = pairsOf.find(&instance);
    if (positions == pairsOf.end()) return found;
    for (const std::size_t position : positions->second) found.push_back(explained(pairs[position]));
    return found;
}

std::vector<PairExplanation> PublishedPairs::wrongOnes() const {
    std::vector<PairExplanation> found;
    for (const Pair& pair : pairs)
        if (!isRight(pair)) found.push_back(explained(pair));
    return found;
}

const PublishedPairs::Pair* PublishedPairs::find(const std::string& association,
                                                 const refhost::Instance& instance) const {
    const auto positions = pairsOf.find(&instance);
    if (positions == pairsOf.end()) return nullptr;
    for (const std::size_t position : positions->second)
        if (*pairs[position].association == association) return &pairs[position];
    return nullptr;
}

bool PublishedPairs::isLinked(const std::string& association, const refhost::Instance& dependent) const {
    return find(association, dependent) != nullptr;
}

const LogicalDisk* PublishedPairs::logicalDiskOn(const refhost::Instance& partition) const {
    const Pair* const pair = find(kLogicalDiskBasedOnPartition, partition);
    return pair == nullptr ? nullptr : &account.inventory().logicalDisks[logicalDisks.at(pair->dependent->instance)];
}

const LogicalDisk* PublishedPairs::logicalDiskOf(const CimAnswer& answer) const {
    const auto found = logicalDisks.find(answer.instance);
    return found == logicalDisks.end() ? nullptr : &account.inventory().logicalDisks[found->second];
}

Layers layersBeneath(const ServerAccount& account, const std::vector<std::size_t>& devices, bool isInclusive) {
    Layers layers;
    std::unordered_set<std::size_t> seen(devices.begin(), devices.end());
    std::vector<std::size_t> layer = devices;
    std::vector<std::string> unlisted;
    if (isInclusive && !devices.empty()) {
        layers.emplace_back();
        for (const std::size_t device : devices) layers.back().push_back(account.device(device).name);
    }
    while (!layer.empty()) {
        std::vector<std::size_t> next;
        std::vector<std::string> names;
        for (const std::size_t device : layer) {
            for (const std::size_t below : account.device(device).on)
                if (seen.insert(below).second) next.push_back(below);
            for (const std::string& name : account.device(device).unlistedSlaves)
                if (!contains(names, name)) names.push_back(name);
        }
        std::vector<std::string> all;
        for (const std::size_t below : next) all.push_back(account.device(below).name);
        all.insert(all.end(), names.begin(), names.end());
        if (!all.empty()) layers.push_back(std::move(all));
        layer = std::move(next);
    }
    return layers;
}

std::string layersText(const ServerAccount& account, const Layers& layers) {
    std::vector<std::string> texts;
    for (const std::vector<std::string>& layer : layers) {
        std::vector<std::string> names;
        for (const std::string& name : layer) {
            const auto device = account.machine.blocks.find(name);
            names.push_back(device ? nameWithVolume(account.device(*device)) : name);
        }
        texts.push_back(listed(names));
    }
    return joined(texts, ", on ");
}

}  // namespace diskmgt
