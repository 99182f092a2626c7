// Compares the values of matched elements one by one.
#include "cli/diff/comparison.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string_view>
#include <unordered_map>

#include "cli/diff/matching.h"

namespace diskmgt {

namespace {

using Texts = std::vector<std::string>;

/// `sda2` before `sda10`.
bool comesFirst(const std::string& left, const std::string& right) {
    const int order = ::strverscmp(left.c_str(), right.c_str());
    return order != 0 ? order < 0 : left < right;  // texts may hold zero bytes
}

const Texts& placesOf(const DocumentElement& element) { return *element.find<Texts>(kPlaces); }

class Comparison {
public:
    Comparison(const InventoryDocument& oldDocument, const InventoryDocument& newDocument, bool spaceToo)
        : before(oldDocument), after(newDocument), matching(oldDocument, newDocument), withSpace(spaceToo) {}

    std::vector<Change> changes() {
        for (const ElementKind kind :
             {ElementKind::kDrive, ElementKind::kPartition, ElementKind::kVolume, ElementKind::kFileSystem}) {
            const std::size_t first = found.size();
            for (const auto& [old, now] : matching.pairs(kind)) compare(kind, old, now);
            std::stable_sort(found.begin() + static_cast<std::ptrdiff_t>(first), found.end(), comesBefore);
        }
        fold();
        return std::move(found);
    }

private:
    /// By the names of both sides, the smaller one first: the same whichever document is the older.
    static bool comesBefore(const Change& one, const Change& other) {
        const auto left = namesOf(one), right = namesOf(other);
        if (*left.first != *right.first) return comesFirst(*left.first, *right.first);
        return comesFirst(*left.second, *right.second);
    }
    static std::pair<const std::string*, const std::string*> namesOf(const Change& change) {
        const DocumentElement& one = change.element();
        const DocumentElement& other = change.came() || change.went() ? one : *change.before;
        return comesFirst(one.name, other.name) ? std::make_pair(&one.name, &other.name)
                                                : std::make_pair(&other.name, &one.name);
    }

    void compare(ElementKind kind, const DocumentElement* old, const DocumentElement* now) {
        if (old == nullptr && before.lacks(kind)) return;
        if (now == nullptr && after.lacks(kind)) return;
        const DocumentElement* const shown = now == nullptr ? old : now;
        Change change{kind, shown->name, old, now, shown, {}, false, {}};
        if (old != nullptr && now != nullptr) {
            change.values = differences(kind, *old, *now);
            change.isRenamed = kind != ElementKind::kFileSystem && old->name != now->name;
            if (change.values.empty() && !change.isRenamed) return;
            if (!now->isMounted() && old->isMounted()) change.name = old->name;  // of a file system: its mount point
        }
        found.push_back(std::move(change));
    }

    std::vector<ValueChange> differences(ElementKind kind, const DocumentElement& old,
                                         const DocumentElement& now) const {
        std::vector<ValueChange> list;
        std::map<std::string_view, std::pair<const DocumentValue*, const DocumentValue*>> byName;
        for (const auto& [name, value] : old.values) byName[name].first = &value;
        for (const auto& [name, value] : now.values) byName[name].second = &value;
        const bool isMountedAnew = kind == ElementKind::kFileSystem && old.isMounted() != now.isMounted();
        const bool isPool = isOfKind(old, "pool") || isOfKind(now, "pool");
        for (const auto& [name, pair] : byName) {
            if (!isCompared(name, isMountedAnew, isPool)) continue;
            if (name == kPlaces ? matching.isOnTheSame(old, now) : isSame(pair.first, pair.second)) continue;
            ValueChange change{std::string(name), std::nullopt, std::nullopt};
            if (pair.first != nullptr) change.before = *pair.first;
            if (pair.second != nullptr) change.after = *pair.second;
            list.push_back(std::move(change));
        }
        return list;
    }

    static bool isOfKind(const DocumentElement& element, const char* kind) {
        const auto* const known = element.find<std::string>("kind");
        return known != nullptr && *known == kind;
    }

    bool isCompared(std::string_view name, bool isMountedAnew, bool isPool) const {
        if (name == "partition.typeName") return false;  // words for the type, which may get better with a new version
        if (name == kPlaces) return before.hasDevices && after.hasDevices;
        if (name == kMountPoints) return before.hasMounts && after.hasMounts;
        const bool isOfMount = name == "options" || name == "total" || name == "cim.logicalDisk.reported" ||
                               name == "free" || name == "available";
        // What there is only since it is mounted, or was as long as it was, is no change of its own.
        if (isOfMount && (isMountedAnew || !before.hasMounts || !after.hasMounts)) return false;
        if (name == "total") return withSpace || !isPool;  // the datasets of a pool share its free space
        return withSpace || (name != "free" && name != "available" && name != "swap.used");
    }

    bool isSame(const DocumentValue* old, const DocumentValue* now) const {
        if (old != nullptr && now != nullptr) return *old == *now;
        return old == now || !before.isComplete || !after.isComplete;
    }

    // --- what another row says too ---

    void fold() {
        std::unordered_map<std::string_view, std::size_t> came, went, renamed;
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (found[i].kind == ElementKind::kFileSystem) continue;
            if (found[i].came()) came.emplace(found[i].name, i);
            if (found[i].went()) went.emplace(found[i].name, i);
            if (found[i].isRenamed) renamed.emplace(found[i].after->name, i);
        }
        for (Change& change : found) {
            const auto& rows = change.came() ? came : change.went() ? went : renamed;
            const Texts& places = placesOf(change.element());
            if (places.empty()) continue;
            const bool isAll = std::all_of(places.begin(), places.end(),
                                           [&rows](const std::string& place) { return rows.count(place) != 0; });
            const bool isJustRenamed = change.isRenamed && change.values.empty();
            if (isAll && (change.came() || change.went() || isJustRenamed)) change.saidBy = rows.at(places.front());
        }
        for (std::size_t i = 0; i < found.size(); ++i)
            if (isEndless(i)) found[i].saidBy.reset();
    }

    /// A wrong document may go round in circles.
    bool isEndless(std::size_t position) const {
        constexpr int kDeepest = 64;
        for (int depth = 0; depth < kDeepest; ++depth) {
            if (!found[position].saidBy) return false;
            position = *found[position].saidBy;
        }
        return true;
    }

    const InventoryDocument& before;
    const InventoryDocument& after;
    const Matching matching;
    const bool withSpace;
    std::vector<Change> found;
};

void addDoubts(const InventoryDocument& document, const std::string& name, std::vector<std::string>& doubts) {
    if (document.isComplete) return;
    std::string why = document.gaps.empty() ? "" : ": " + document.gaps.front();
    if (!why.empty() && why.back() == '.') why.pop_back();
    const std::size_t more = document.gaps.size();
    if (more > 1) why += " (and " + std::to_string(more - 1) + (more == 2 ? " other gap)" : " other gaps)");
    doubts.push_back(name + " is not complete, and what it lacks counts as unknown" + why);
}

}  // namespace

std::vector<Change> compareInventories(const InventoryDocument& before, const InventoryDocument& after,
                                       bool withSpace) {
    return Comparison(before, after, withSpace).changes();
}

std::vector<std::string> doubtsAbout(const InventoryDocument& before, const std::string& beforeName,
                                     const InventoryDocument& after, const std::string& afterName) {
    std::vector<std::string> doubts;
    if (before.hostName != after.hostName)
        doubts.push_back("the documents are of two servers: " + before.hostName + " and " + after.hostName);
    addDoubts(before, beforeName, doubts);
    addDoubts(after, afterName, doubts);
    return doubts;
}

}  // namespace diskmgt
