#include "cli/explain/explain_named.h"

#include <algorithm>
#include <optional>

#include "cli/explain/device_explanation.h"
#include "cli/explain/diagnosis.h"
#include "cli/explain/mount_explanation.h"
#include "inventory/device_names.h"
#include "inventory/file_systems.h"
#include "inventory/naming.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

class Naming {
public:
    explicit Naming(const ExplainContext& asked) : context(asked), account(asked.account) {
        explanation.isWholeMachine = false;
    }

    void explain(const std::string& operand) {
        if (explainWhatIsBeside(operand)) return;
        const Named found = named(account, operand);
        switch (found.kind) {
            case Named::Kind::kDevice:
                addDevice(found.devices.front(), operand);
                return;
            case Named::Kind::kCimOnly:
                addCimOnly(found.cimOnly, operand);
                return;
            case Named::Kind::kPath:
            case Named::Kind::kNoAnswer:
                if (const std::string& point = account.machine.mounts[found.mounts.front()].mountPoint;
                    plainPath(point) != plainPath(operand))
                    explanation.paths.push_back({operand, point, layersBeneath(account, found.devices, true)});
                addMounts(found.mounts);
                return;
            case Named::Kind::kMount:
                addMounts(found.mounts);
                return;
            case Named::Kind::kNothing:
                break;
        }
        if (!explainBesideMountsNamed(operand)) explanation.unknownNames.push_back(nothingNamed(operand));
    }

    Explanation take() { return std::move(explanation); }

private:
    static std::string pathOf(const std::string& operand) {
        return operand.find('/') == std::string::npos ? "/dev/" + operand : operand;
    }

    void add(DeviceExplanation device, const std::string& operand) {
        if (device.path != operand) device.asked = operand;
        explanation.devices.push_back(std::move(device));
    }

    void addDevice(std::size_t position, const std::string& operand) {
        add(explainDevice(context, position), operand);
        std::vector<std::size_t> mounts = account.uses.mountsOn(position);
        for (const std::size_t upper : account.device(position).carries)
            if (account.device(upper).disk == position)
                mounts.insert(mounts.end(), account.uses.mountsOn(upper).begin(), account.uses.mountsOn(upper).end());
        std::sort(mounts.begin(), mounts.end());
        addMounts(mounts);
    }

    void addCimOnly(std::size_t position, const std::string& operand) {
        const CimOnly& only = account.cimOnly[position];
        if (!explainBesideMountsNamed(only.name)) add(explainCimOnly(context, only), operand);
    }

    bool isThere(const MountExplanation& mount) const {
        return std::any_of(explanation.mounts.begin(), explanation.mounts.end(),
                           [&mount](const MountExplanation& told) {
                               return told.source == mount.source && told.mountPoint == mount.mountPoint;
                           });
    }

    void addMounts(const std::vector<std::size_t>& positions) {
        for (const std::size_t position : positions)
            if (MountExplanation mount = explainMount(context, position); !isThere(mount))
                explanation.mounts.push_back(std::move(mount));
    }

    /// Of names that the plug-in looks at and the kernel's account does not have.
    bool explainWhatIsBeside(const std::string& operand) {
        const std::string path = pathOf(operand);
        for (const DeviceFacts* const facts : context.beside)
            if (facts->path == path) {
                add(explainBeside(context, *facts), operand);
                return true;
            }
        return false;
    }

    bool explainBesideMountsNamed(const std::string& name) {
        bool isFound = false;
        for (const MountFacts* const mount : context.besideMounts) {
            const bool isHere = name.compare(0, 1, "/") == 0 && plainPath(mount->mountPoint) == plainPath(name);
            if (!isHere && mount->source != name) continue;
            isFound = true;
            if (MountExplanation found = explainBesideMount(context, *mount); !isThere(found))
                explanation.mounts.push_back(std::move(found));
        }
        return isFound;
    }

    std::string nothingNamed(const std::string& operand) const {
        std::string text = "nothing here is named \"" + operand + "\": no device, mount or path";
        const std::string path = pathOf(operand);
        for (std::size_t i = 0; i < account.devices.size(); ++i) {
            if (account.device(i).path() == path || !isPartitionOf(path, account.device(i).path())) continue;
            std::vector<std::string> parts;
            for (const std::size_t upper : account.device(i).carries)
                if (account.device(upper).disk == i) parts.push_back(account.device(upper).name);
            return text + "; " + account.device(i).name + " has " +
                   (parts.empty() ? "no partitions in the kernel" : listed(parts));
        }
        if (context.drivesUnknown || context.partitionsUnknown) text += ", and what CIM reports is not known";
        return text + "; \"diskmgt explain\" lists what there is";
    }

    const ExplainContext& context;
    const ServerAccount& account;
    Explanation explanation;
};

}  // namespace

Explanation explainNamed(const ExplainContext& context, const std::vector<std::string>& operands) {
    Naming naming(context);
    for (const std::string& operand : operands) naming.explain(operand);
    Explanation explanation = naming.take();
    addContradictions(context, explanation);
    return explanation;
}

}  // namespace diskmgt
