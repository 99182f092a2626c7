#include "cli/explain/explain_machine.h"

#include <algorithm>

#include "cli/explain/device_explanation.h"
#include "cli/explain/diagnosis.h"
#include "cli/explain/mount_explanation.h"

namespace diskmgt {

namespace {

using diskmgt_machine::Kind;

/// Disks come first, then what is made of them, and what is of little use last.
int rankOf(Kind kind) {
    switch (kind) {
        case Kind::kDisk:
        case Kind::kPath:
            return 0;
        case Kind::kOptical:
        case Kind::kFloppy:
            return 1;
        case Kind::kLoop:
            return 3;
        case Kind::kMemory:
        case Kind::kCompressedMemory:
            return 4;
        default:
            return 2;
    }
}

std::vector<std::size_t> disksFirst(const ServerAccount& account) {
    std::vector<std::size_t> positions;
    for (std::size_t i = 0; i < account.devices.size(); ++i)
        if (account.devices[i].drive) positions.push_back(i);
    std::stable_sort(positions.begin(), positions.end(), [&account](std::size_t one, std::size_t other) {
        return rankOf(account.device(one).kind) < rankOf(account.device(other).kind);
    });
    return positions;
}

}  // namespace

Explanation explainMachine(const ExplainContext& context) {
    const ServerAccount& account = context.account;
    Explanation explanation;
    for (const std::size_t position : disksFirst(account))
        explanation.devices.push_back(explainDevice(context, position));
    for (const DeviceFacts* const facts : context.beside) explanation.devices.push_back(explainBeside(context, *facts));
    for (std::size_t i = 0; i < account.mounts.size(); ++i) explanation.mounts.push_back(explainMount(context, i));
    for (const MountFacts* const mount : context.besideMounts)
        explanation.mounts.push_back(explainBesideMount(context, *mount));
    for (const CimOnly& only : account.cimOnly) {
        const std::vector<LogicalDisk>& disks = account.inventory().logicalDisks;
        const bool isMount = std::any_of(disks.begin(), disks.end(), [&only](const LogicalDisk& disk) {
            return disk.instance == only.instance;  // explained as a line of the mount table
        });
        if (!isMount) explanation.cimOnly.push_back({only.name, only.reasons});
    }
    explanation.diagnosis = diagnose(context, explanation);
    addContradictions(context, explanation);
    return explanation;
}

}  // namespace diskmgt
