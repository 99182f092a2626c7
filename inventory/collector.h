// The work of the process that collects CIM's account. It may stall or crash at any step, so each is made known at once
// to the process that watches it.
#pragma once

#include <functional>
#include <string>

#include "inventory/mount_figures.h"
#include "session/plugin_session.h"

namespace diskmgt {

/// Loads the plug-in, has it serve the classes of an inventory, and looks for itself where it looks: what becomes known
/// is read by `knownInventory` and `unpackedFacts`. VEXSG_LogicalDisk is not asked for while a mounted file system does
/// not answer.
void collectAccount(PluginSession& session);

/// How a process collects that stays and has loaded the plug-in.
struct ResidentCollection {
    std::function<void(const std::string& record)> makeKnown;
    /// What it is at, as a clause: "serving VEXSG_DiskDrive"; said before what may never come back.
    std::function<void(const std::string& clause)> nowAt;
    /// A class that is not asked for, and why, as a clause.
    std::function<void(const std::string& className, const std::string& why)> leftOut;
    LeftProcesses& left;
};

/// The same of all 17 served classes, those of an inventory first.
void collectAccount(PluginSession& session, const ResidentCollection& resident);

}  // namespace diskmgt
