// One request per class, so that what one class cannot answer does not cost the others.
#include "inventory/collector.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "inventory/collected_facts.h"
#include "inventory/stalling_nodes.h"
#include "machine/machine.h"
#include "schema/vocabulary.h"
#include "session/class_plan.h"
#include "session/packed_classes.h"
#include "session/request_failure.h"
#include "session/served_classes.h"
#include "text/wording.h"
#include "worker/worker.h"

namespace diskmgt {

namespace {

class Collector {
public:
    Collector(PluginSession& used, const ResidentCollection* stays)
        : session(used), resident(stays), mounts(diskmgt_machine::readKernelMounts().mounts) {}

    void run() {
        makeKnown(packed(Beginning()));
        lookAtMounts();  // before the plug-in may end everything: the figures are no part of its account
        const Deadline limit = session.startTimeLimit(true);
        if (resident == nullptr) (void)session.load();
        for (const std::string& className : inventoryClasses()) {
            if (isLeftOut(className)) continue;
            serve(className);
            if (className == diskmgt_col::kDiskPartition) examineDevices();
        }
        if (!areDevicesExamined) examineDevices();  // the class that they follow was left out
        if (resident == nullptr) return;
        for (const std::string& className : servedClasses())
            if (!contains(inventoryClasses(), className) && !isLeftOut(className)) serve(className);
    }

private:
    void makeKnown(const std::string& record) {
        if (resident != nullptr)
            resident->makeKnown(record);
        else
            worker::makeKnown(record);
    }

    void nowAt(const std::string& clause) {
        if (resident != nullptr) resident->nowAt(clause);
    }

    void serve(const std::string& className) {
        nowAt("serving " + className);
        ServedClass served;
        served.failure = failureClause(session.request({className}));
        served.published = {session.host().findClass(className), session.host().instances(className)};
        makeKnown(packed(served));
    }

    void examineDevices() {
        areDevicesExamined = true;
        Progress progress;
        ExaminedDevices examined;
        examined.list = readKernelList();
        examined.devices = examineAllDevices(examined.list, virtualDevices(), progress);
        makeKnown(packed(examined));
    }

    void lookAtMounts() {
        Progress progress;
        const Deadline limit = session.startOtherLimit("measuring the mounted file systems");
        MountMeasuring measuring(mounts, resident == nullptr ? nullptr : &resident->left);
        if (resident != nullptr) sayWhoIsSilent(measuring.unansweredAfter(kUsualAnswer));
        const MountFigures figures = measuring.finish();
        makeKnown(packed(figures));
        makeKnown(packed(readMounts(progress)));
        for (const MountFigure& figure : figures) {
            if (figure.outcome != MountFigure::Outcome::kNoAnswer) continue;
            leaveOut(diskmgt_col::kLogicalDisk, {"mount-does-not-answer", "a mount does not answer",
                                                 fileSystemOn(figure.mountId) + " does not answer"});
            return;
        }
    }

    void sayWhoIsSilent(const std::vector<std::uint64_t>& mountIds) {
        if (!mountIds.empty()) nowAt("waiting for " + fileSystemOn(mountIds.front()));
    }

    std::string fileSystemOn(std::uint64_t mountId) const {
        const auto mount =
            std::find_if(mounts.begin(), mounts.end(), [mountId](const auto& any) { return any.id == mountId; });
        return "the file system mounted on " + mount->mountPoint + " (" + mount->type + ")";
    }

    void leaveOut(const std::string& className, const Reason& reason) {
        leftOut[className] = reason;
        makeKnown(packedLeftOut(className, reason));
        if (resident != nullptr) resident->leftOut(className, reason.text);
    }

    /// Whether the class stays out: it would wait, or pairs one that stays out.
    bool isLeftOut(const std::string& className) {
        if (leftOut.count(className) != 0) return true;
        for (const std::string& needed : reliedOnBy(className)) {
            const auto missing = leftOut.find(needed);
            if (missing == leftOut.end()) continue;
            leaveOut(className, Reason(missing->second));
            return true;
        }
        const StallingNode node = stallingNodeOf(className, virtualDevices());
        if (node) leaveOut(className, {"not-a-block-device", "not a block device", node.sentence()});
        return static_cast<bool>(node);
    }

    static constexpr int kUsualAnswer = 300;  // milliseconds; who is silent for longer is named

    /// Looked up once: the host searches sysfs each time it is asked.
    const std::vector<std::string>& virtualDevices() {
        if (!presented) presented = session.host().virtualDevices();
        return *presented;
    }

    PluginSession& session;
    const ResidentCollection* const resident;  // null: this process ends with what it collects
    const std::vector<diskmgt_machine::Mount> mounts;
    std::optional<std::vector<std::string>> presented;
    std::map<std::string, Reason> leftOut;
    bool areDevicesExamined = false;
};

}  // namespace

void collectAccount(PluginSession& session) { Collector(session, nullptr).run(); }

void collectAccount(PluginSession& session, const ResidentCollection& resident) { Collector(session, &resident).run(); }

}  // namespace diskmgt
