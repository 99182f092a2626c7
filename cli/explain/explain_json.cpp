// Builds the document of `explain` with the JSON library, which is heavy to compile and therefore kept apart.
#include "cli/explain/explain_json.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace diskmgt::json {

namespace {

using Json = nlohmann::ordered_json;

Json reasonList(const Verdict& verdict) {
    Json list = Json::array();
    for (const Reason& reason : verdict.reasons) list.push_back({{"rule", reason.rule}, {"text", reason.text}});
    return list;
}

Json orNull(const std::string& text) { return text.empty() ? Json() : Json(text); }

const char* nameOf(SpaceFigures space) {
    switch (space) {
        case SpaceFigures::kMountPoint:
            return "mount-point";
        case SpaceFigures::kSource:
            return "source";
        case SpaceFigures::kNone:
            return "none";
        case SpaceFigures::kNotAsked:
            break;
    }
    return "not-asked";
}

Json deviceObject(const DeviceExplanation& device) {
    Json mounts = Json::array();
    for (const MountedOn& mount : device.mounts)
        mounts.push_back({{"source", mount.source}, {"mountPoint", mount.mountPoint}, {"reported", mount.isReported}});
    return {{"path", device.path},
            {"asked", orNull(device.asked)},
            {"inSysfs", device.isListed},
            {"partitionOf", orNull(device.partitionOf)},
            {"drive",
             {{"reported", device.drive.isReported},
              {"size", device.sizeBytes ? Json(*device.sizeBytes) : Json()},
              {"reasons", reasonList(device.drive)}}},
            {"partitions",
             {{"reported", device.partitions.isReported},
              {"count", device.partitions.isReported ? device.tableCount : 0},
              {"inTable", device.tableCount},
              {"countOnDrive", device.countOnDrive},
              {"shownByKernel", device.shownByKernel},
              {"reasons", reasonList(device.partitions)}}},
            {"mounts", std::move(mounts)},
            {"use",
             {{"seen", !device.usage.text.empty()},
              {"holders", device.usage.holders},
              {"mountPoints", device.usage.mountPoints},
              {"swap", device.usage.isSwap},
              {"btrfsMember", device.usage.isBtrfsMember}}}};
}

Json mountObject(const MountExplanation& mount) {
    return {{"source", mount.source},       {"mountPoint", mount.mountPoint},
            {"type", mount.type},           {"reported", mount.logicalDisk.isReported},
            {"space", nameOf(mount.space)}, {"reasons", reasonList(mount.logicalDisk)}};
}

}  // namespace

std::string explanationDocument(const Explanation& explanation) {
    Json devices = Json::array();
    for (const DeviceExplanation& device : explanation.devices) devices.push_back(deviceObject(device));
    Json mounts = Json::array();
    for (const MountExplanation& mount : explanation.mounts) mounts.push_back(mountObject(mount));
    const Json document = {
        {"devices", std::move(devices)}, {"mounts", std::move(mounts)}, {"diagnosis", explanation.diagnosis}};
    // Plain ASCII: control characters that some terminals obey are then escaped too.
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace diskmgt::json
