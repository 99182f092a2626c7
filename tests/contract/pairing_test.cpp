// Association pairs, against the plain search over the same instances.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "tests/contract/opened_plugin.h"

namespace contract {
namespace {

using second_host::Instance;
using Index = std::multimap<std::string, const NVEXTAL20::ICIMInstance*>;
using Pair = std::pair<const NVEXTAL20::ICIMInstance*, const NVEXTAL20::ICIMInstance*>;  // antecedent, dependent
using Pairs = std::vector<Pair>;

const std::vector<std::string> kComputed = {"VEXSG_MediaPresent", "VEXSG_PartitionPresent",
                                            "VEXSG_LogicalDiskBasedOnPartition"};

Index indexOf(const second_host::Namespace& nameSpace, const std::string& className, const std::string& key) {
    Index index;
    for (const auto& instance : nameSpace.instances(className)) {
        index.emplace(instance->text(key).value_or("Unknown"), instance.get());
    }
    return index;
}

const NVEXTAL20::ICIMInstance* firstWithin(const Index& inner, const std::string& text) {
    const auto found = std::find_if(inner.begin(), inner.end(), [&](const Index::value_type& entry) {
        return entry.first.size() <= text.size() && text.find(entry.first) != std::string::npos;
    });
    return found == inner.end() ? nullptr : found->second;
}

std::string linkTarget(const std::string& path) {
    char target[257] = {};
    return readlink(path.c_str(), target, 256) > 0 ? target : "";
}

Pairs expectedPairs(const second_host::Namespace& nameSpace, const std::string& association) {
    const Index drives = indexOf(nameSpace, "VEXSG_DiskDrive", "Name");
    const Index partitions = indexOf(nameSpace, "VEXSG_DiskPartition", "DeviceID");
    const Index logicalDisks = indexOf(nameSpace, "VEXSG_LogicalDisk", "DeviceID");
    Pairs pairs;
    if (association == "VEXSG_MediaPresent") {
        for (const auto& [key, logicalDisk] : logicalDisks) {
            const auto* drive = firstWithin(drives, key);
            const std::string target = drive == nullptr ? linkTarget(key) : "";
            if (!target.empty()) drive = firstWithin(drives, target);
            if (drive != nullptr) pairs.emplace_back(drive, logicalDisk);
        }
        return pairs;
    }
    const bool isPresence = association == "VEXSG_PartitionPresent";
    for (const auto& [key, partition] : partitions) {
        const auto* const match = firstWithin(isPresence ? drives : logicalDisks, key);
        if (match != nullptr) pairs.push_back(isPresence ? Pair(match, partition) : Pair(partition, match));
    }
    return pairs;
}

Pairs publishedPairs(const second_host::Namespace& nameSpace, const std::string& association) {
    Pairs pairs;
    for (const auto& instance : nameSpace.instances(association)) {
        pairs.emplace_back(instance->referenced("Antecedent"), instance->referenced("Dependent"));
    }
    return pairs;
}

void expectPairsOfThePlainSearch(const second_host::Namespace& nameSpace) {
    for (const std::string& association : kComputed) {
        EXPECT_EQ(publishedPairs(nameSpace, association), expectedPairs(nameSpace, association)) << association;
    }
}

TEST(Pairing, EqualsThePlainSearchOverTheRunningMachine) {
    Loaded loaded;
    loaded.request(servedClasses());
    expectPairsOfThePlainSearch(*loaded.nameSpace);
}

TEST(Pairing, EqualsThePlainSearchOverTheRunningMachineWithSeededDisks) {
    Loaded loaded;
    for (const char* name : {"/dev/sdb", "/dev/sda", "/dev/sdaa"}) {
        loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", name}});
    }
    for (const char* id : {"/dev/sdaa1", "/dev/sdb1", "/dev/sda10", "/dev/sda1"}) {
        loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", id}});
        loaded.nameSpace->seed("VEXSG_LogicalDisk", {{"DeviceID", id}});
    }
    loaded.request(servedClasses());
    for (const std::string& association : kComputed) {
        EXPECT_GE(loaded.nameSpace->instances(association).size(), 4U) << association;
    }
    expectPairsOfThePlainSearch(*loaded.nameSpace);
}

TEST(Pairing, TheFirstDriveInKeyOrderWinsNotTheBest) {
    Loaded loaded;
    loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sdaa"}});
    const auto first = loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/dev/sda"}});
    const auto partition = loaded.nameSpace->seed("VEXSG_DiskPartition", {{"DeviceID", "/dev/sdaa1"}});
    loaded.request({"VEXSG_PartitionPresent"});
    EXPECT_EQ(publishedPairs(*loaded.nameSpace, "VEXSG_PartitionPresent"), (Pairs{{first.get(), partition.get()}}));
}

TEST(Pairing, ALogicalDiskThatIsALinkIsLookedForByItsTarget) {
    char directory[] = "/tmp/pairing.XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    const std::string link = std::string(directory) + "/root";
    ASSERT_EQ(symlink("/nowhere/sdq-7", link.c_str()), 0);
    Loaded loaded;
    const auto drive = loaded.nameSpace->seed("VEXSG_DiskDrive", {{"Name", "/nowhere/sdq"}});
    const auto logicalDisk = loaded.nameSpace->seed("VEXSG_LogicalDisk", {{"DeviceID", link}});
    loaded.request({"VEXSG_MediaPresent"});
    (void)unlink(link.c_str());
    (void)rmdir(directory);
    EXPECT_EQ(publishedPairs(*loaded.nameSpace, "VEXSG_MediaPresent"), (Pairs{{drive.get(), logicalDisk.get()}}));
}

TEST(Pairing, NullKeysAreCalledUnknownAndMatchEachOther) {
    Loaded loaded;
    const auto drive = loaded.nameSpace->seed("VEXSG_DiskDrive", {});
    const auto partition = loaded.nameSpace->seed("VEXSG_DiskPartition", {});
    loaded.request({"VEXSG_PartitionPresent"});
    EXPECT_EQ(publishedPairs(*loaded.nameSpace, "VEXSG_PartitionPresent"), (Pairs{{drive.get(), partition.get()}}));
}

TEST(Pairing, EqualsThePlainSearchOverManyRandomNamespaces) {
    Loaded loaded;
    std::mt19937 random(20200229);
    const auto upTo = [&](unsigned int most) { return std::uniform_int_distribution<unsigned int>(0, most)(random); };
    const auto name = [&] {
        std::string text;  // few letters and short: many ties, prefixes and empty keys
        for (unsigned int length = upTo(4); length > 0; --length) text += static_cast<char>('a' + upTo(1));
        return text;
    };
    std::size_t found = 0;
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        loaded.nameSpace = second_host::Namespace::create();
        for (const auto& [className, key] :
             {std::pair("VEXSG_DiskDrive", "Name"), std::pair("VEXSG_DiskPartition", "DeviceID"),
              std::pair("VEXSG_LogicalDisk", "DeviceID")}) {
            for (unsigned int count = upTo(8); count > 0; --count) {
                loaded.nameSpace->seed(className, upTo(9) == 0 ? std::map<std::string, std::string>{}
                                                               : std::map<std::string, std::string>{{key, name()}});
            }
        }
        loaded.request(kComputed);
        expectPairsOfThePlainSearch(*loaded.nameSpace);
        if (HasFailure()) return;
        found += loaded.nameSpace->instances("VEXSG_PartitionPresent").size();
    }
    EXPECT_GT(found, 200U) << "too few pairs to tell anything";
}

}  // namespace
}  // namespace contract
