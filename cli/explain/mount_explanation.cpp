#include "cli/explain/mount_explanation.h"

#include "inventory/mount_reasons.h"

namespace diskmgt {

namespace {

using diskmgt_col::MeasuredPath;

SpaceFigures figuresOf(const MountFacts& mount) {
    if (!mount.measured) return SpaceFigures::kNotAsked;
    if (*mount.measured == MeasuredPath::kMountPoint) return SpaceFigures::kMountPoint;
    return *mount.measured == MeasuredPath::kSource ? SpaceFigures::kSource : SpaceFigures::kNone;
}

}  // namespace

MountExplanation explainMount(const MountFacts& mount, int updateError) {
    return {mount.source, mount.mountPoint, mount.type, judgeMount(mount, updateError), figuresOf(mount)};
}

}  // namespace diskmgt
