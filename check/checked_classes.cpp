#include "check/checked_classes.h"

#include <algorithm>
#include <set>

#include "inventory/mount_figures.h"
#include "inventory/stalling_nodes.h"
#include "machine/machine.h"
#include "schema/vocabulary.h"
#include "session/class_plan.h"
#include "session/served_classes.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

const char* const kHostingSystem = "VEXSG_ComputerSystem";

/// A clause about the first mount that does not answer; empty: all do.
std::string silentMount() {
    const std::vector<diskmgt_machine::Mount> mounts = diskmgt_machine::readKernelMounts().mounts;
    for (const MountFigure& figure : MountMeasuring(mounts).finish()) {
        if (figure.outcome != MountFigure::Outcome::kNoAnswer) continue;
        for (const diskmgt_machine::Mount& mount : mounts)
            if (mount.id == figure.mountId)
                return "the file system mounted on " + mount.mountPoint + " (" + mount.type + ") does not answer";
    }
    return {};
}

/// Why a request for the class would wait for ever; empty: it would not.
std::string whyItWouldWait(const std::string& className, const refhost::ReferenceHost& host) {
    if (className == diskmgt_col::kLogicalDisk) return silentMount();
    const StallingNode node = stallingNodeOf(className, host.virtualDevices());
    return node ? node.sentence() : "";
}

std::vector<std::string> allClasses(const refhost::ReferenceHost& host) {
    std::set<std::string> superclasses;
    for (const refhost::ClassDeclaration& cls : host.classes()) superclasses.insert(cls.superclass);
    std::vector<std::string> names = servedClasses();
    for (const refhost::ClassDeclaration& cls : host.classes())
        if (!cls.isAbstract && superclasses.count(cls.name) == 0 && cls.name != kHostingSystem &&
            !contains(names, cls.name))
            names.push_back(cls.name);
    std::stable_partition(names.begin(), names.end(),
                          [&host](const std::string& name) { return !host.findClass(name)->isAssociation; });
    return names;
}

}  // namespace

CheckedClasses classesToCheck(const refhost::ReferenceHost& host) {
    CheckedClasses chosen;
    std::set<std::string> leftOut;
    for (const std::string& name : allClasses(host)) {
        std::string reason = whyItWouldWait(name, host);
        for (const std::string& needed : reliedOnBy(name))
            if (leftOut.count(needed) != 0) reason = "it pairs " + needed;
        if (reason.empty()) {
            chosen.names.push_back(name);
        } else {
            leftOut.insert(name);
            chosen.remarks.push_back({Check::kServes, false, name, "not asked for: " + reason});
        }
    }
    return chosen;
}

std::vector<refhost::Instance> hostsOwnInstances(const refhost::ReferenceHost& host) {
    return host.instances(kHostingSystem);
}

}  // namespace diskmgt
