#include "inventory/completeness.h"

#include <unistd.h>

#include <cerrno>

#include "inventory/failure_text.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

Reason notRoot(const std::string& what) { return {"not-root", "not root", what + " is only for root; run as root."}; }

void addDeviceGaps(ServerAccount& account) {
    if (account.machine.blocks.error != 0)
        account.gaps.push_back({"block-list-not-read", "/sys/block",
                                "The kernel's list of block devices cannot be opened: " +
                                    failureText(account.machine.blocks.error) + "."});
    if (!account.collection.facts.devices) return;
    for (const DeviceFacts& facts : account.collection.facts.devices->devices) {
        if (facts.isRefused()) account.gaps.push_back({"open-failed", facts.path, UnaskedReasons::refused(facts).text});
        if (facts.stalling) account.gaps.push_back({"not-a-block-device", facts.path, facts.stalling.sentence() + "."});
    }
}

void addTableGaps(ServerAccount& account) {
    if (account.machine.mountError != 0)
        account.gaps.push_back(
            {"mount-table-not-opened", "/proc/self/mountinfo",
             "The kernel's mount table cannot be read: " + failureText(account.machine.mountError) + "."});
    if (account.machine.swapError != 0 && account.machine.swapError != ENOENT)  // a kernel without swap has no table
        account.gaps.push_back(
            {"swap-table-not-read", "/proc/swaps",
             "The list of swap areas cannot be read: " + failureText(account.machine.swapError) + "."});
    if (const auto& table = account.collection.facts.mountTable; table && table->updateError != 0)
        account.gaps.push_back({"mount-table-not-opened", diskmgt_col::kMountTable,
                                std::string("The mount table ") + diskmgt_col::kMountTable +
                                    " cannot be opened for update: " + failureText(table->updateError) + "."});
}

void addMountGaps(ServerAccount& account) {
    for (std::size_t i = 0; i < account.mounts.size(); ++i)
        if (account.mounts[i].reason && account.mounts[i].reason->rule == "mount-does-not-answer")
            account.gaps.push_back(
                {"mount-does-not-answer", account.machine.mounts[i].mountPoint, account.mounts[i].reason->text});
}

void addClassGaps(ServerAccount& account) {
    const UnaskedReasons unasked(account);
    const Published& published = account.inventory().published;
    for (const std::string& className : published.missingClasses) {
        const Reason reason = unasked.why(className).value_or(Reason());
        account.gaps.push_back({reason.rule, className, reason.text});
    }
    for (const ClassFailure& failure : published.failures)
        if (!failure.isLeftOut)
            account.gaps.push_back({"class-failed", failure.className, "While it was served, " + failure.text + "."});
    const worker::EarlyEnd& end = account.collection.end;
    if (end.isEarly() && published.missingClasses.empty())  // it ended behind the last class
        account.gaps.push_back({end.rule, "CIM", end.text});
}

}  // namespace

std::optional<Reason> UnaskedReasons::why(const std::string& className) const {
    const Published& published = account.inventory().published;
    if (contains(published.missingClasses, className)) {
        const auto leftOut = account.collection.facts.leftOut.find(className);
        if (leftOut == account.collection.facts.leftOut.end()) return notLookedAt();
        const Reason& reason = leftOut->second;
        return Reason{reason.rule, reason.brief, className + " was not asked for: " + reason.text + "."};
    }
    if (className != diskmgt_col::kLogicalDisk) return std::nullopt;
    const auto& table = account.collection.facts.mountTable;
    if (!table || !isRefusal(table->updateError) || ::geteuid() == 0) return std::nullopt;
    return notRoot(std::string("Opening the mount table ") + diskmgt_col::kMountTable + " for update");
}

Reason UnaskedReasons::refused(const DeviceFacts& facts) {
    if (isRefusal(facts.openError) && ::geteuid() != 0) return notRoot("Opening " + facts.path);
    const bool hasNoNode = facts.openError == ENOENT;
    return {hasNoNode ? "no-node" : "open-failed", hasNoNode ? "no node in /dev" : "cannot be opened",
            "Opening " + facts.path + " failed: " + failureText(facts.openError) + "."};
}

Reason UnaskedReasons::notLookedAt() const {
    const worker::EarlyEnd& end = account.collection.end;
    if (end.isEarly()) return {end.rule, end.brief, end.text};
    return {"not-looked-at", "not looked at",
            "It appeared or vanished while the server was examined; run the command again."};
}

std::string incompleteSentence(const ServerAccount& account) {
    const std::vector<Gap>& gaps = account.gaps;
    std::string text = gaps.front().text;
    if (!text.empty() && text.back() == '.') text.pop_back();
    const std::string more = gaps.size() == 1 ? "" : " (and " + counted(gaps.size() - 1, "other gap") + ")";
    return "the account is not complete: " + text + more;
}

void addGaps(ServerAccount& account) {
    addDeviceGaps(account);
    addTableGaps(account);
    addMountGaps(account);
    addClassGaps(account);
}

}  // namespace diskmgt
