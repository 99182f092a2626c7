#include "inventory/server_account.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "inventory/completeness.h"
#include "inventory/device_reasons.h"
#include "inventory/failure_text.h"
#include "inventory/mount_reasons.h"
#include "inventory/partition_join.h"
#include "machine/texts.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes and properties
using diskmgt_machine::BlockDevice;
using diskmgt_machine::Kind;
using State = CimAnswer::State;

class Join {
public:
    Join(const diskmgt_machine::Machine& machine, Collection& known)
        : collection(known), account(machine, known), unasked(account) {}

    ServerAccount take() {
        addMachine();
        placeFacts();
        joinDrives();
        joinPartitions(account, placeOfPath);
        joinMounts();
        addGaps(account);
        return std::move(account);
    }

private:
    const std::vector<BlockDevice>& blocks() const { return account.machine.blocks.devices; }
    const Published& published() const { return collection.inventory.published; }

    // --- the machine ---

    void addMachine() {
        account.devices.resize(blocks().size());
        account.mounts.resize(account.machine.mounts.size());
        for (std::size_t i = 0; i < blocks().size(); ++i) {
            DeviceAccount& device = account.devices[i];
            if (i < account.machine.udev.size()) device.udev = account.machine.udev[i];
            device.use = account.uses.of(i);
            if (blocks()[i].disk && blocks()[i].kind == Kind::kPartition)
                ++account.devices[*blocks()[i].disk].partitionsByKernel;
            (isPartition(i) ? device.partition : device.drive).emplace();
        }
        for (std::size_t i = 0; i < account.machine.swaps.size(); ++i)
            if (const auto device = account.uses.deviceNamed(account.machine.swaps[i].path))
                account.devices[*device].swaps.push_back(i);
        addMounts();
        addFigures();
    }

    /// A partition of the kernel's; one of a volume is a volume.
    bool isPartition(std::size_t position) const {
        return blocks()[position].kind == Kind::kPartition && blocks()[position].disk;
    }

    void addMounts() {
        std::map<std::pair<diskmgt_machine::DeviceNumber, std::string>, std::size_t> known;
        for (std::size_t i = 0; i < account.machine.mounts.size(); ++i) {
            const diskmgt_machine::Mount& mount = account.machine.mounts[i];
            const std::vector<std::size_t>& on = account.uses.devicesOf(i);
            FileSystemGroup group = groupOf(mount);
            if (!on.empty()) {
                account.mounts[i].group = FileSystemGroup::kDevice;
                account.devices[on.front()].mounts.push_back(i);
                for (std::size_t other = 1; other < on.size(); ++other)
                    account.devices[on[other]].mountsAt = on.front();
                continue;
            }
            if (group == FileSystemGroup::kDevice) group = FileSystemGroup::kOther;  // its device is not listed
            account.mounts[i].group = group;
            const auto [place, isNew] = known.try_emplace({mount.number, mount.type}, account.fileSystems.size());
            if (isNew) account.fileSystems.push_back({group, {}});
            account.fileSystems[place->second].mounts.push_back(i);
        }
    }

    void addFigures() {
        const std::vector<bool> isHidden = hiddenByLaterMount(account.machine.mounts);
        std::unordered_map<std::uint64_t, const MountFigure*> byId;
        if (collection.facts.figures)
            for (const MountFigure& figure : *collection.facts.figures) byId[figure.mountId] = &figure;
        for (std::size_t i = 0; i < account.mounts.size(); ++i) {
            const auto figure = byId.find(account.machine.mounts[i].id);
            MountAccount& mount = account.mounts[i];
            const bool isKnown = figure != byId.end() && figure->second->number == account.machine.mounts[i].number;
            const MountFigure* const found = isKnown ? figure->second : nullptr;
            const std::string& point = account.machine.mounts[i].mountPoint;
            if (found != nullptr && found->outcome == MountFigure::Outcome::kNoAnswer)
                mount.reason = Reason{"mount-does-not-answer", "does not answer",
                                      "The file system mounted on " + point + " does not answer."};
            else if (isHidden[i] || (found != nullptr && found->outcome == MountFigure::Outcome::kHidden))
                mount.reason = Reason{"hidden-by-later-mount", "hidden by a later mount",
                                      "Another file system is reached at " + point + ", so this one was not measured."};
            else if (found == nullptr || found->outcome == MountFigure::Outcome::kNotAsked)
                continue;
            else if (found->outcome == MountFigure::Outcome::kMeasured)
                mount.space = found->space;
            else
                mount.reason = Reason{"not-measurable", "cannot be measured",
                                      point + " cannot be measured: " + failureText(found->error) + "."};
        }
    }

    // --- what the collecting process looked at ---

    /// Also notes what keeps the kernel from reading a device's table again.
    void placeFacts() {
        if (!collection.facts.devices) return;
        std::map<diskmgt_machine::DeviceNumber, std::size_t> byNumber;
        for (std::size_t i = 0; i < blocks().size(); ++i)
            if (blocks()[i].number) byNumber.emplace(*blocks()[i].number, i);
        for (DeviceFacts& facts : collection.facts.devices->devices) {
            std::optional<std::size_t> position;
            if (facts.nodeNumber) {
                const auto found = byNumber.find(*facts.nodeNumber);
                if (found != byNumber.end()) position = found->second;
            }
            if (!position) position = account.uses.deviceNamed(diskmgt_machine::nodeOfSysfsName(facts.path));
            placeOfPath[facts.path] = position;
            if (!position) continue;
            const BlockDevice& device = blocks()[*position];
            facts.isHiddenPath = device.kind == Kind::kPath;
            facts.content = account.devices[*position].udev.content;
            facts.isHeld = !device.unlistedHolders.empty() ||
                           std::any_of(device.carries.begin(), device.carries.end(),
                                       [&](std::size_t upper) { return blocks()[upper].disk != *position; });
            account.devices[*position].facts = &facts;
        }
    }

    // --- drives ---

    void joinDrives() {
        const std::optional<Reason> unknown = unasked.why(kDiskDrive);
        for (std::size_t i = 0; i < blocks().size(); ++i) {
            if (!account.devices[i].drive) continue;
            CimAnswer& answer = *account.devices[i].drive;
            const DeviceFacts* const facts = account.devices[i].facts;
            if (unknown || facts == nullptr) {
                answer.reasons.push_back(unknown.value_or(unasked.notLookedAt()));
                continue;
            }
            Verdict verdict = judgeDrive(*facts);
            answer.reasons = std::move(verdict.reasons);
            answer.state = facts->isRefused() ? State::kUnknown : State::kNotReported;
            if (facts->isRefused()) answer.reasons.insert(answer.reasons.begin(), unasked.refused(*facts));
        }
        for (const Drive& drive : collection.inventory.drives) {
            const auto place = placeOfPath.find(drive.device);
            const std::optional<std::size_t> position =
                place == placeOfPath.end() ? account.uses.deviceNamed(drive.device) : place->second;
            if (!position || !account.devices[*position].drive) {
                addCimOnly(*drive.instance, drive.device);
                continue;
            }
            CimAnswer& answer = *account.devices[*position].drive;
            if (answer.isReported()) {
                account.cimOnly.push_back(
                    {drive.instance,
                     drive.device,
                     {{"same-device", "the same device", "It is the device " + answer.as + " again."}},
                     nullptr});
                continue;
            }
            answer.state = State::kReported;
            answer.instance = drive.instance;
            answer.as = drive.device;
            answer.size = drive.size;
            answer.partitionCount = drive.partitionCount;
            const BlockDevice& device = blocks()[*position];
            if (device.path() != drive.device) answer.differs.emplace_back("name");
            if (device.sizeBytes && *device.sizeBytes != drive.size) answer.differs.emplace_back("size");
            if (drive.partitionCount != account.devices[*position].partitionsByKernel)
                answer.differs.emplace_back("partitionCount");
        }
    }

    void addCimOnly(const refhost::Instance& instance, const std::string& name) {
        account.cimOnly.push_back({&instance,
                                   name,
                                   {{"no-such-device", "unknown to the kernel", "The kernel has no such device."}},
                                   nullptr});
    }

    // --- mounts ---

    using MountKey = std::pair<std::string, std::pair<std::string, std::string>>;
    using MountsByLine = std::multimap<MountKey, std::size_t>;  // equal lines in their order
    static MountKey keyOf(const std::string& source, const std::string& point, const std::string& type) {
        return {source, {point, type}};
    }

    void joinMounts() {
        const std::optional<Reason> unknown = unasked.why(kLogicalDisk);
        MountsByLine byLine;
        for (std::size_t i = 0; i < account.machine.mounts.size(); ++i) {
            const diskmgt_machine::Mount& mount = account.machine.mounts[i];
            byLine.emplace(keyOf(mount.source, mount.mountPoint, mount.type), i);
            CimAnswer& answer = account.mounts[i].logicalDisk;
            if (unknown)
                answer.reasons.push_back(*unknown);
            else
                answer.state = State::kNotReported;
        }
        if (!unknown) judgeMounts(byLine);
        for (const LogicalDisk& disk : collection.inventory.logicalDisks) report(disk, byLine);
        for (DeviceAccount& device : account.devices) {
            if (device.mounts.empty()) continue;
            const auto reported = std::find_if(device.mounts.begin(), device.mounts.end(), [this](std::size_t mount) {
                return account.mounts[mount].logicalDisk.isReported();
            });
            device.logicalDisk =
                account.mounts[reported == device.mounts.end() ? device.mounts.front() : *reported].logicalDisk;
        }
    }

    void judgeMounts(const MountsByLine& byLine) {
        std::vector<bool> isJudged(account.mounts.size());
        const MountTableFacts none;
        const MountTableFacts& table = collection.facts.mountTable ? *collection.facts.mountTable : none;
        for (const MountFacts& facts : table.mounts) {
            const auto lines = byLine.equal_range(keyOf(facts.source, facts.mountPoint, facts.type));
            const auto place = std::find_if(lines.first, lines.second,
                                            [&isJudged](const auto& line) { return !isJudged[line.second]; });
            if (place == lines.second) continue;
            isJudged[place->second] = true;
            CimAnswer& answer = account.mounts[place->second].logicalDisk;
            Verdict verdict = judgeMount(facts, table.updateError);
            if (!verdict.isReported) answer.reasons = std::move(verdict.reasons);
        }
        for (std::size_t i = 0; i < isJudged.size(); ++i)
            if (!isJudged[i] && account.mounts[i].logicalDisk.reasons.empty())
                account.mounts[i].logicalDisk.reasons.push_back(
                    {"not-in-mount-table", "not in the mount table",
                     std::string("The mount table ") + kMountTable + " has no such line of its own."});
    }

    void report(const LogicalDisk& disk, const MountsByLine& byLine) {
        const MountKey key = keyOf(disk.source, disk.mountPoint, disk.fileSystem);
        const auto place = byLine.lower_bound(key);
        if (place == byLine.end() || place->first != key) {
            account.cimOnly.push_back({disk.instance,
                                       disk.source,
                                       {{"not-mounted", "not mounted",
                                         "The kernel has no such mount; the mount table is a file of its own, or it "
                                         "changed meanwhile."}}});
            return;
        }
        CimAnswer& answer = account.mounts[place->second].logicalDisk;
        answer = CimAnswer();
        answer.state = State::kReported;
        answer.instance = disk.instance;
        answer.as = disk.source;
        if (const MountAccount& mount = account.mounts[place->second]; disk.space && mount.reason)
            answer.reasons.push_back(
                {"source-figures", "its figures are of another file system",
                 "The space that is published with it is that of another file system: " + mount.reason->text});
    }

    Collection& collection;
    ServerAccount account;
    const UnaskedReasons unasked;
    DevicesByPath placeOfPath;
};

}  // namespace

bool CimAnswer::differsIn(const char* what) const {
    return std::find(differs.begin(), differs.end(), what) != differs.end();
}

std::size_t ServerAccount::countOf(FileSystemGroup group) const {
    std::size_t count = 0;
    for (const FileSystemAccount& fileSystem : fileSystems)
        if (fileSystem.group == group) count += fileSystem.mounts.size();
    return count;
}

ServerAccount joinAccounts(const diskmgt_machine::Machine& machine, Collection& collection) {
    return Join(machine, collection).take();
}

}  // namespace diskmgt
