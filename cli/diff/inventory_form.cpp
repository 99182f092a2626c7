#include "cli/diff/inventory_form.h"

#include <cstddef>

namespace diskmgt {

namespace {

std::vector<KeyDescription> answer(const char* keptAs) {
    return {{"known", ValueKind::kTruth, true, ""}, {"reported", ValueKind::kTruth, false, keptAs}};
}

}  // namespace

const ObjectDescription& descriptionOf(ObjectKind kind) {
    constexpr bool kList = true, kObject = false, kAlways = true, kOptional = false;
    static const ObjectDescription all[] = {
        {{{"hostName", ValueKind::kText}, {"collectedAt", ValueKind::kText}, {"complete", ValueKind::kTruth}},
         {{"incomplete", ObjectKind::kGap, kList, kAlways},
          {"devices", ObjectKind::kDevice, kList, kAlways},
          {"fileSystems", ObjectKind::kFileSystem, kList, kAlways}}},
        {{{"rule", ValueKind::kText}, {"of", ValueKind::kText}, {"text", ValueKind::kText}}, {}},
        {{{"name", ValueKind::kText},
          {"kind", ValueKind::kText},
          {"on", ValueKind::kTexts},
          {"size", ValueKind::kNumber, false},
          {"sectorSize", ValueKind::kNumber, false},
          {"model", ValueKind::kText, false},
          {"serial", ValueKind::kText, false},
          {"wwid", ValueKind::kText, false},
          {"transport", ValueKind::kText, false},
          {"volume", ValueKind::kText, false},
          {"level", ValueKind::kText, false},
          {"backing", ValueKind::kText, false},
          {"content", ValueKind::kText, false},
          {"label", ValueKind::kText, false},
          {"uuid", ValueKind::kText, false},
          {"readOnly", ValueKind::kTruth, false},
          {"removable", ValueKind::kTruth, false},
          {"rotational", ValueKind::kTruth, false},
          {"hidden", ValueKind::kTruth, false},
          {"mountsAt", ValueKind::kText, false}},
         {{"partition", ObjectKind::kPartition, kObject, kOptional},
          {"swap", ObjectKind::kSwap, kObject, kOptional},
          {"mounts", ObjectKind::kMount, kList, kOptional},
          {"cim", ObjectKind::kAnswers, kObject, kAlways}}},
        {{{"number", ValueKind::kNumber, false, "partition.number"},
          {"start", ValueKind::kNumber, false, "partition.start"},
          {"table", ValueKind::kText, false, "partition.table"},
          {"type", ValueKind::kText, false, "partition.type"},
          {"typeName", ValueKind::kText, false, "partition.typeName"},
          {"name", ValueKind::kText, false, "partition.name"},
          {"uuid", ValueKind::kText, false, "partition.uuid"},
          {"bootable", ValueKind::kTruth, false, "partition.bootable"}},
         {}},
        {{{"size", ValueKind::kNumber, true, "swap.size"}, {"used", ValueKind::kNumber, true, "swap.used"}}, {}},
        {{{"mountPoint", ValueKind::kText},
          {"fileSystem", ValueKind::kText},
          {"options", ValueKind::kText},
          {"total", ValueKind::kNumber, false},
          {"free", ValueKind::kNumber, false},
          {"available", ValueKind::kNumber, false}},
         {}},
        {{{"source", ValueKind::kText}, {"kind", ValueKind::kText}},
         {{"mounts", ObjectKind::kMount, kList, kAlways}, {"cim", ObjectKind::kAnswers, kObject, kAlways}}},
        {{},
         {{"drive", ObjectKind::kDriveAnswer, kObject, kOptional},
          {"partition", ObjectKind::kPartitionAnswer, kObject, kOptional},
          {"logicalDisk", ObjectKind::kDiskAnswer, kObject, kOptional}}},
        {answer("cim.drive.reported"), {}},
        {answer("cim.partition.reported"), {}},
        {answer("cim.logicalDisk.reported"), {}},
    };
    return all[static_cast<std::size_t>(kind)];
}

const char* wordFor(ValueKind kind) {
    constexpr const char* kWords[] = {"whole number", "true or false", "text", "list"};
    return kWords[static_cast<std::size_t>(kind)];
}

}  // namespace diskmgt
