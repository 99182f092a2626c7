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

void writeReasons(JsonWriter& out, const std::vector<Reason>& reasons) {
    out.key("reasons").beginArray();
    for (const Reason& reason : reasons)
        out.beginObject().textField("rule", reason.rule).textField("text", reason.text).endObject();
    out.endArray();
}

void writeLayers(JsonWriter& out, const Layers& layers) {
    out.key("liesOn").beginArray(JsonLayout::kSpaced);
    for (const std::vector<std::string>& layer : layers) out.texts(layer);
    out.endArray();
}

void writePairs(JsonWriter& out, const std::vector<PairExplanation>& pairs) {
    out.key("pairs").beginArray();
    for (const PairExplanation& pair : pairs) {
        out.beginObject().textField("association", pair.association);
        out.textField("antecedent", pair.antecedent).textField("dependent", pair.dependent);
        out.truthField("right", pair.isRight).textOrNullField("rule", pair.isRight ? "" : "name-contained");
        out.textOrNullField("text", pair.text).endObject();
    }
    out.endArray();
}

void writePartitions(JsonWriter& out, const DeviceExplanation& device) {
    out.key("partitions").beginObject().truthField("reported", device.partitions.isReported);
    out.numberField("count", device.partitions.isReported ? device.tableCount : 0);
    out.numberField("inTable", device.tableCount).numberField("countOnDrive", device.countOnDrive);
    out.numberField("shownByKernel", device.shownByKernel);
    writeReasons(out, device.partitions.reasons);
    out.truthField("known", device.partitions.isKnown).endObject();
}

void writeUse(JsonWriter& out, const DeviceUsage& usage) {
    out.key("use").beginObject().truthField("seen", !usage.text.empty());
    out.key("holders").texts(usage.holders).key("mountPoints").texts(usage.mountPoints);
    out.truthField("swap", usage.isSwap).truthField("btrfsMember", usage.isBtrfsMember);
    out.textOrNullField("content", usage.content).endObject();
}

void write(JsonWriter& out, const DeviceExplanation& device) {
    out.beginObject().textField("path", device.path).textOrNullField("asked", device.asked);
    out.truthField("inSysfs", device.isListed).textOrNullField("partitionOf", device.partitionOf);
    out.key("drive").beginObject().truthField("reported", device.drive.isReported).key("size");
    if (device.sizeBytes)
        out.number(*device.sizeBytes);
    else
        out.null();
    writeReasons(out, device.drive.reasons);
    out.truthField("known", device.drive.isKnown).endObject();
    writePartitions(out, device);
    out.key("mounts").beginArray();
    for (const MountedOn& mount : device.mounts) {
        out.beginObject().textField("source", mount.source).textField("mountPoint", mount.mountPoint);
        out.truthField("reported", mount.isReported).endObject();
    }
    out.endArray();
    writeUse(out, device.usage);
    out.textOrNullField("reportedAs", device.reportedAs);
    writeLayers(out, device.liesOn);
    writePairs(out, device.pairs);
    out.endObject();
}

void write(JsonWriter& out, const MountExplanation& mount) {
    out.beginObject().textField("source", mount.source).textField("mountPoint", mount.mountPoint);
    out.textField("type", mount.type).truthField("reported", mount.logicalDisk.isReported);
    out.textField("space", nameOf(mount.space));
    writeReasons(out, mount.logicalDisk.reasons);
    out.truthField("known", mount.logicalDisk.isKnown);
    writeLayers(out, mount.liesOn);
    writePairs(out, mount.pairs);
    out.endObject();
}

void write(JsonWriter& out, const PathExplanation& path) {
    out.beginObject().textField("path", path.path).textField("mountPoint", path.mountPoint);
    writeLayers(out, path.liesOn);
    out.endObject();
}

void write(JsonWriter& out, const CimOnlyExplanation& only) {
    out.beginObject().textField("name", only.name);
    writeReasons(out, only.reasons);
    out.endObject();
}

template <typename Element>
void writeAll(JsonWriter& out, const char* key, const std::vector<Element>& elements) {
    out.key(key).beginArray();
    for (const Element& element : elements) write(out, element);
    out.endArray();
}

}  // namespace

std::string explanationDocument(const Explanation& explanation) {
    JsonWriter out;
    out.beginObject();
    writeAll(out, "devices", explanation.devices);
    writeAll(out, "mounts", explanation.mounts);
    out.key("diagnosis").texts(explanation.diagnosis);
    writeAll(out, "paths", explanation.paths);
    writeAll(out, "cimOnly", explanation.cimOnly);
    out.endObject();
    return out.take();
}

}  // namespace diskmgt::json
