#include "collect/partition_information.h"

#include "collect/device_rules.h"
#include "collect/partition_table_parser.h"

namespace diskmgt_col {

std::vector<PropertyMap> PartitionInformation::doEnumeration(LDMStore& /*store*/) {
    return PartitionTableParser().enumPartitions(candidateDisks());
}

}  // namespace diskmgt_col
