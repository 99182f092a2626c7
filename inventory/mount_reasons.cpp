#include "inventory/mount_reasons.h"

#include <cerrno>
#include <cstring>

#include "inventory/failure_text.h"

namespace diskmgt {

namespace {

Reason mayBlock(const std::string& rule, const std::string& brief, const std::string& what) {
    return {rule, brief + ", not measured", what + " It was therefore not measured here; the plug-in does measure it."};
}

/// The figures of what the kernel has are in its account.
void addUnmeasuredReason(const MountFacts& mount, std::vector<Reason>& reasons) {
    switch (mount.kind) {
        case FileSystemKind::kAutomount:
            reasons.push_back(automountReason());
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
                reasons.push_back(mayBlock("beneath-other", "beneath another",
                                           "Its path leads through a file system that may not answer."));
            return;
    }
}

}  // namespace

Reason automountReason() {
    return {"automount", "automount",
            "It is an automount: asking for VEXSG_LogicalDisk mounts it when it is idle, and this command asks."};
}

Reason noFigures(const std::string& source) {
    return {"not-measurable", "no space figures",
            "The plug-in can measure neither the mount point nor the path " + source + ", so it publishes no space."};
}

Verdict judgeMount(const MountFacts& mount, int updateError) {
    Verdict verdict;
    verdict.isReported = updateError == 0 && !mount.isLater;
    std::vector<Reason>& reasons = verdict.reasons;
    if (updateError != 0) {
        reasons.push_back({"mount-table-not-opened", "mount table not opened",
                           std::string("The mount table ") + diskmgt_col::kMountTable +
                               " cannot be opened for update, so no mount is reported: " + failureText(updateError) +
                               "."});
    } else if (mount.isLater) {
        reasons.push_back({"later-mount", "same source as " + mount.firstMountPoint,
                           "An earlier entry of the mount table, " + mount.firstMountPoint +
                               ", has the same source; only the first one counts."});
        if (diskmgt_col::isMeasuredThoughLater(mount.type.c_str())) reasons.push_back(automountReason());
    } else {
        addUnmeasuredReason(mount, reasons);
    }
    return verdict;
}

}  // namespace diskmgt
