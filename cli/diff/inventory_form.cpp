// The keys of each kind of object, and which of them are always there.
#include "cli/diff/inventory_form.h"

#include <cstddef>

namespace diskmgt {

const ObjectDescription& descriptionOf(ObjectKind kind) {
    static const std::vector<KeyDescription> partitionKeys = {
        {"device", ValueKind::kText},    {"size", ValueKind::kNumber},         {"table", ValueKind::kText},
        {"typeName", ValueKind::kText},  {"type", ValueKind::kNumber, false},  {"typeByte", ValueKind::kNumber, false},
        {"bootable", ValueKind::kTruth}, {"start", ValueKind::kNumber, false},
    };
    static const ObjectDescription all[] = {
        {nullptr,
         {{"hostName", ValueKind::kText},
          {"collectedAt", ValueKind::kText},
          {"complete", ValueKind::kTruth},
          {"missingClasses", ValueKind::kTexts}},
         {{"failures", ObjectKind::kFailure},
          {"drives", ObjectKind::kDrive},
          {"loosePartitions", ObjectKind::kPartition},
          {"looseLogicalDisks", ObjectKind::kDisk}}},
        {nullptr, {{"class", ValueKind::kText}, {"text", ValueKind::kText}}, {}},
        {"device",
         {{"device", ValueKind::kText},
          {"size", ValueKind::kNumber},
          {"partitionCount", ValueKind::kNumber},
          {"model", ValueKind::kText, false},
          {"serial", ValueKind::kText, false},
          {"wwid", ValueKind::kText, false}},
         {{"partitions", ObjectKind::kPartition}, {"logicalDisks", ObjectKind::kDisk}}},
        {"device", partitionKeys, {{"logicalDisks", ObjectKind::kDisk}, {"logicals", ObjectKind::kLogical}}},
        {"device", partitionKeys, {{"logicalDisks", ObjectKind::kDisk}}},
        {"source",
         {{"source", ValueKind::kText},
          {"mountPoints", ValueKind::kTexts},
          {"fileSystem", ValueKind::kText},
          {"options", ValueKind::kText},
          {"fileSystemId", ValueKind::kText, false},
          {"total", ValueKind::kNumber, false},
          {"free", ValueKind::kNumber, false},
          {"available", ValueKind::kNumber, false},
          {"measuredAtSource", ValueKind::kTruth, false}},
         {}},
    };
    return all[static_cast<std::size_t>(kind)];
}

const char* wordFor(ValueKind kind) {
    constexpr const char* kWords[] = {"whole number", "true or false", "text", "list"};
    return kWords[static_cast<std::size_t>(kind)];
}

}  // namespace diskmgt
