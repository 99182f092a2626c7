// Naming of the candidate disks.
#include "collect/partition_information.h"

#include <string>

#include "base/text.h"
#include "collect/partition_table_parser.h"

namespace diskmgt_col {

namespace {

constexpr std::size_t kCandidateCount = 280;
constexpr int kRaidDevices = 128;
constexpr int kNvmeControllers = 10;
constexpr int kNvmeNamespaces = 10;

std::vector<std::string> candidateDisks() {
    std::vector<std::string> devicePaths;
    devicePaths.reserve(kCandidateCount);
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        devicePaths.push_back("/dev/hd" + dataToString<char>(letter));
        devicePaths.push_back("/dev/sd" + dataToString<char>(letter));
    }
    for (int device = 0; device < kRaidDevices; ++device) {
        devicePaths.push_back("/dev/md" + dataToString<int>(device));
    }
    for (int controller = 0; controller < kNvmeControllers; ++controller) {
        for (int nvmeNamespace = 0; nvmeNamespace < kNvmeNamespaces; ++nvmeNamespace) {
            devicePaths.push_back("/dev/nvme" + dataToString<int>(controller) + "n" + dataToString<int>(nvmeNamespace));
        }
    }
    return devicePaths;
}

}  // namespace

std::vector<PropertyMap> PartitionInformation::doEnumeration(LDMStore& /*store*/) {
    return PartitionTableParser().enumPartitions(candidateDisks());
}

}  // namespace diskmgt_col
