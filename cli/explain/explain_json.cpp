#include "cli/explain/explain_json.h"

#include "formats/json_writer.h"

namespace diskmgt::json {

namespace {

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

void writeReasons(JsonWriter& out, const Verdict& verdict) {
    out.key("reasons").beginArray();
    for (const Reason& reason : verdict.reasons)
        out.beginObject().textField("rule", reason.rule).textField("text", reason.text).endObject();
    out.endArray();
}

void writePartitions(JsonWriter& out, const DeviceExplanation& device) {
    out.key("partitions").beginObject().truthField("reported", device.partitions.isReported);
    out.numberField("count", device.partitions.isReported ? device.tableCount : 0);
    out.numberField("inTable", device.tableCount).numberField("countOnDrive", device.countOnDrive);
    out.numberField("shownByKernel", device.shownByKernel);
    writeReasons(out, device.partitions);
    out.endObject();
}

void writeUse(JsonWriter& out, const DeviceUsage& usage) {
    out.key("use").beginObject().truthField("seen", !usage.text.empty());
    out.key("holders").texts(usage.holders).key("mountPoints").texts(usage.mountPoints);
    out.truthField("swap", usage.isSwap).truthField("btrfsMember", usage.isBtrfsMember).endObject();
}

void write(JsonWriter& out, const DeviceExplanation& device) {
    out.beginObject().textField("path", device.path).textOrNullField("asked", device.asked);
    out.truthField("inSysfs", device.isListed).textOrNullField("partitionOf", device.partitionOf);
    out.key("drive").beginObject().truthField("reported", device.drive.isReported).key("size");
    if (device.sizeBytes)
        out.number(*device.sizeBytes);
    else
        out.null();
    writeReasons(out, device.drive);
    out.endObject();
    writePartitions(out, device);
    out.key("mounts").beginArray();
    for (const MountedOn& mount : device.mounts) {
        out.beginObject().textField("source", mount.source).textField("mountPoint", mount.mountPoint);
        out.truthField("reported", mount.isReported).endObject();
    }
    out.endArray();
    writeUse(out, device.usage);
    out.endObject();
}

void write(JsonWriter& out, const MountExplanation& mount) {
    out.beginObject().textField("source", mount.source).textField("mountPoint", mount.mountPoint);
    out.textField("type", mount.type).truthField("reported", mount.logicalDisk.isReported);
    out.textField("space", nameOf(mount.space));
    writeReasons(out, mount.logicalDisk);
    out.endObject();
}

}  // namespace

std::string explanationDocument(const Explanation& explanation) {
    JsonWriter out;
    out.beginObject().key("devices").beginArray();
    for (const DeviceExplanation& device : explanation.devices) write(out, device);
    out.endArray().key("mounts").beginArray();
    for (const MountExplanation& mount : explanation.mounts) write(out, mount);
    out.endArray().key("diagnosis").texts(explanation.diagnosis).endObject();
    return out.take();
}

}  // namespace diskmgt::json
