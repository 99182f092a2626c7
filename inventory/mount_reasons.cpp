#include "inventory/mount_reasons.h"

#include <cerrno>
#include <cstring>

#include "inventory/failure_text.h"

namespace diskmgt {

namespace {

using diskmgt_col::MeasuredPath;

Reason mayBlock(const std::string& rule, const std::string& brief, const std::string& what) {
    return {rule, brief + ", not measured here",
            what + " It was therefore not measured here; the plug-in does measure it for VEXSG_LogicalDisk."};
}

Reason automount() {
    return {"automount", "automount, not measured here",
            "It is an automount: asking for VEXSG_LogicalDisk mounts it when it is idle. It was therefore not measured "
            "here."};
}

void addUnaskedReason(const MountFacts& mount, std::vector<Reason>& reasons) {
    switch (mount.kind) {
        case FileSystemKind::kAutomount:
            reasons.push_back(automount());
            return;
        case FileSystemKind::kNetwork:
            reasons.push_back(mayBlock("network", "network",
                                       "Measuring a network file system blocks when its server does not answer."));
            return;
        case FileSystemKind::kFuse:
            reasons.push_back(
                mayBlock("fuse", "FUSE", "Measuring a FUSE file system blocks when its program does not answer."));
            return;
        case FileSystemKind::kUnknown:
            reasons.push_back(mayBlock("unknown-type", "unknown type",
                                       "The type " + mount.type + " is not known to be local; measuring may block."));
            return;
        case FileSystemKind::kLocal:
            if (mount.isBelowUntouchable)
                reasons.push_back(mayBlock("beneath-other", "reached through another file system",
                                           "Its path leads through a file system that may not answer."));
            return;
    }
}

void addSpaceReason(const MountFacts& mount, std::vector<Reason>& reasons) {
    if (!mount.measured) return addUnaskedReason(mount, reasons);
    if (*mount.measured == MeasuredPath::kSource)
        reasons.push_back({"source-figures", "space is that of the path " + mount.source,
                           "The mount point cannot be measured, so the space shown is that of the file system which "
                           "holds the path " +
                               mount.source + ", not that of the mounted one."});
    if (*mount.measured == MeasuredPath::kNothing)
        reasons.push_back({"not-measurable", "no space figures",
                           "Neither the mount point nor the path " + mount.source +
                               " can be measured, so no space is "
                               "shown."});
}

}  // namespace

Verdict judgeMount(const MountFacts& mount, int updateError) {
    Verdict verdict;
    verdict.isReported = updateError == 0 && !mount.isLater;
    std::vector<Reason>& reasons = verdict.reasons;
    if (updateError != 0) {
        reasons.push_back({"mount-table-not-opened", "mount table cannot be opened for update",
                           std::string("The mount table ") + diskmgt_col::kMountTable +
                               " cannot be opened for update, so no mount is reported: " + failureText(updateError) +
                               "."});
    } else if (mount.isLater) {
        reasons.push_back({"later-mount", "same source as " + mount.firstMountPoint,
                           "An earlier entry of the mount table, " + mount.firstMountPoint +
                               ", has the same source; only the first one counts."});
        if (diskmgt_col::isMeasuredThoughLater(mount.type.c_str())) reasons.push_back(automount());
    } else {
        addSpaceReason(mount, reasons);
    }
    return verdict;
}

}  // namespace diskmgt
