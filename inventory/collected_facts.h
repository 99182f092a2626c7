// What the collecting process found out for itself, beside what the plug-in published: the steps of the plug-in
// retraced.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "inventory/device_facts.h"
#include "inventory/mount_facts.h"
#include "inventory/mount_figures.h"
#include "inventory/reason.h"

namespace diskmgt {

struct ExaminedDevices {
    KernelList list;
    std::vector<DeviceFacts> devices;  // of the list, then candidate disks beside it
};

/// Each part is absent when the collecting process did not get that far.
struct CollectedFacts {
    std::optional<ExaminedDevices> devices;
    std::optional<MountTableFacts> mountTable;  // as the plug-in reads it; nothing is measured
    std::optional<MountFigures> figures;
    std::map<std::string, Reason> leftOut;  // class that was not asked for, to why
};

std::string packed(const ExaminedDevices& devices);
std::string packed(const MountTableFacts& table);
std::string packed(const MountFigures& figures);
std::string packedLeftOut(const std::string& className, const Reason& reason);

/// Reads the records of these kinds, as a process of this program wrote them; they may be cut anywhere.
CollectedFacts unpackedFacts(const std::string& bytes);

}  // namespace diskmgt
