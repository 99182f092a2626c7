#include "provider/disk_info_associator.h"

#include <boost/function.hpp>
#include <string_view>

#include "base/os.h"
#include "plugin/host/add_to_vector_callback.h"
#include "provider/contained_key_search.h"
#include "provider/host_access.h"
#include "schema/vocabulary.h"

namespace diskmgt_col {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TAddToVectorCallback;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMReference;
using NVEXTAL20::TCIMValue;

namespace {

constexpr int kWithSubclasses = 1;
constexpr std::size_t kMaxLinkTarget = 256;

/// The keys of an index, in its order. The index owns them.
std::vector<std::string_view> keysOf(const InstanceIndex& index) {
    std::vector<std::string_view> keys;
    keys.reserve(index.size());
    for (const auto& [key, instance] : index) keys.emplace_back(key);
    return keys;
}

/// Finds the entry of an index whose key lies within another text.
class Candidates {
public:
    explicit Candidates(const InstanceIndex& index) : search(keysOf(index)) {
        for (const auto& [key, instance] : index) instances.push_back(instance.get());
    }

    /// For each key of the other index the first instance, in key order, whose key lies within it; null when none does.
    std::vector<ICIMInstance*> firstWithinEach(const InstanceIndex& containing) const {
        std::vector<ICIMInstance*> found;
        for (const std::size_t rank : search.firstWithinEach(keysOf(containing))) found.push_back(ranked(rank));
        return found;
    }

    /// The same for one short text.
    ICIMInstance* firstWithin(std::string_view text) const { return ranked(search.firstWithin(text)); }

private:
    ICIMInstance* ranked(std::size_t rank) const {
        return rank == ContainedKeySearch::kNone ? nullptr : instances[rank];
    }

    ContainedKeySearch search;
    std::vector<ICIMInstance*> instances;  // the index's
};

TCIMReference referenceTo(ICIMInstance& instance) {
    TCIMOptions options;
    return instance.GetReference(options);
}

ReferenceMap association(ICIMInstance& antecedent, ICIMInstance& dependent) {
    TCIMReference antecedentReference = referenceTo(antecedent);
    TCIMReference dependentReference = referenceTo(dependent);
    ReferenceMap references;
    references.emplace(kAntecedent, TCIMValue(antecedentReference));
    references.emplace(kDependent, TCIMValue(dependentReference));
    return references;
}

/// Where the path links to, one level, unresolved; empty when it is not a link.
std::string linkTargetOf(const std::string& path) {
    char target[kMaxLinkTarget];  // a longer one is cut
    const ssize_t length = os::readLink(path, target, sizeof target);
    return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

bool isSubString(InstanceIndexEntry containing, InstanceIndexEntry contained) {
    return contained.first.size() <= containing.first.size() &&
           containing.first.find(contained.first) != std::string::npos;
}

DiskInfoAssociator::DiskInfoAssociator(LDMStore& store) : collected(store) {}

InstanceIndex DiskInfoAssociator::enumerateInstancesByProperty(boost::shared_ptr<ICIMNamespace> nameSpace,
                                                               const std::string& className,
                                                               const std::string& keyProperty) {
    TCIMOptions context;
    context.emplace(kNspId, TCIMValue(kPluginContext));
    const auto cls = required(required(nameSpace, "the host gave no namespace")->GetClass(className, context),
                              "the host gave no class");

    std::vector<boost::shared_ptr<ICIMInstance>> instances;
    const boost::function1<bool, boost::shared_ptr<ICIMInstance>> gather =
        TAddToVectorCallback<ICIMInstance>(instances);
    TCIMOptions enumerationOptions;
    cls->EnumerateInstances(gather, kWithSubclasses, enumerationOptions);

    InstanceIndex index;
    for (const auto& instance : instances) {
        TCIMOptions lookupOptions;
        const auto property =
            required(required(instance, "the host enumerated no instance")->GetProperty(keyProperty, lookupOptions),
                     "the host gave no property");
        TCIMOptions valueOptions;
        const TCIMValue value = property->GetValue(valueOptions);
        index.emplace(value.IsNull() ? kUnknownKey : static_cast<std::string>(value), instance);
    }
    return index;
}

InstanceIndex DiskInfoAssociator::enumerateLogicalDriveNames(boost::shared_ptr<ICIMNamespace> nameSpace) {
    return enumerateInstancesByProperty(nameSpace, kLogicalDisk, kDeviceId);
}

InstanceIndex DiskInfoAssociator::enumeratePhysicalDriveNames(boost::shared_ptr<ICIMNamespace> nameSpace) {
    return enumerateInstancesByProperty(nameSpace, kMediaAccessDevice, kName);
}

InstanceIndex DiskInfoAssociator::enumeratePhysicalDrivePartitions(boost::shared_ptr<ICIMNamespace> nameSpace) {
    return enumerateInstancesByProperty(nameSpace, kDiskPartition, kDeviceId);
}

std::vector<ReferenceMap> DiskInfoAssociator::enumerateDiskBasedOnPartitionAssociations(
    boost::shared_ptr<ICIMNamespace> nameSpace) {
    const InstanceIndex partitions = enumeratePhysicalDrivePartitions(nameSpace);
    const InstanceIndex logicalDisks = enumerateLogicalDriveNames(nameSpace);
    const std::vector<ICIMInstance*> matches = Candidates(logicalDisks).firstWithinEach(partitions);
    auto match = matches.begin();
    std::vector<ReferenceMap> associations;
    for (const auto& [key, partition] : partitions) {
        ICIMInstance* const logicalDisk = *match++;
        if (logicalDisk != nullptr) associations.push_back(association(*partition, *logicalDisk));
    }
    return associations;
}

std::vector<ReferenceMap> DiskInfoAssociator::enumeratePartitionPresentAssociations(
    boost::shared_ptr<ICIMNamespace> nameSpace) {
    const InstanceIndex partitions = enumeratePhysicalDrivePartitions(nameSpace);
    const InstanceIndex drives = enumeratePhysicalDriveNames(nameSpace);
    const std::vector<ICIMInstance*> matches = Candidates(drives).firstWithinEach(partitions);
    auto match = matches.begin();
    std::vector<ReferenceMap> associations;
    for (const auto& [key, partition] : partitions) {
        ICIMInstance* const drive = *match++;
        if (drive != nullptr) associations.push_back(association(*drive, *partition));
    }
    return associations;
}

std::vector<ReferenceMap> DiskInfoAssociator::enumerateMediaPresentAssociations(
    boost::shared_ptr<ICIMNamespace> nameSpace) {
    const InstanceIndex logicalDisks = enumerateLogicalDriveNames(nameSpace);
    const InstanceIndex drives = enumeratePhysicalDriveNames(nameSpace);
    const Candidates candidates(drives);
    const std::vector<ICIMInstance*> matches = candidates.firstWithinEach(logicalDisks);
    auto match = matches.begin();
    std::vector<ReferenceMap> associations;
    for (const auto& [key, logicalDisk] : logicalDisks) {
        ICIMInstance* drive = *match++;
        if (drive == nullptr) {
            const std::string target = linkTargetOf(key);
            if (target.empty()) continue;
            drive = candidates.firstWithin(target);
        }
        if (drive != nullptr) associations.push_back(association(*drive, *logicalDisk));
    }
    return associations;
}

}  // namespace diskmgt_col
