// Matches elements by name, then compares their values one by one.
#include "cli/diff/comparison.h"

#include <cstring>
#include <map>
#include <string_view>

#include "schema/vocabulary.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes

struct KindDescription {
    ElementKind kind;
    std::string className;
    std::vector<std::string> placeClasses;  // without one of them it is not known where an element lies
    const char* plural;
};

const std::vector<KindDescription>& kinds() {
    static const std::vector<KindDescription> all = {
        {ElementKind::kDrive, kDiskDrive, {}, "drives"},
        {ElementKind::kPartition, kDiskPartition, {kDiskDrive, kPartitionPresent}, "partitions"},
        {ElementKind::kLogicalDisk,
         kLogicalDisk,
         {kDiskDrive, kDiskPartition, kPartitionPresent, kMediaPresent, kLogicalDiskBasedOnPartition},
         "logical disks"}};
    return all;
}

/// More elements of one name are no disks but somebody's joke; they are matched in their order alone.
constexpr std::size_t kThoroughlyMatched = 512;

/// `sda2` before `sda10`.
struct InOrderForPeople {
    bool operator()(const std::string& left, const std::string& right) const {
        const int order = ::strverscmp(left.c_str(), right.c_str());
        return order != 0 ? order < 0 : left < right;  // texts may hold zero bytes
    }
};

/// Free space moves while a server works, and many file systems get another identifier with each mount.
bool movesBySelf(std::string_view name) {
    return name == "free" || name == "available" || name == "fileSystemId" || name == "measuredAtSource";
}

const DocumentValue* find(const DocumentElement& element, const std::string& name) {
    const auto found = element.values.find(name);
    return found == element.values.end() ? nullptr : &found->second;
}

/// True when the figures are not those of the file system itself.
bool isMeasuredElsewhere(const DocumentElement& element) {
    const DocumentValue* const value = find(element, "measuredAtSource");
    return value != nullptr && *value == DocumentValue(true);
}

class Comparison {
public:
    Comparison(const InventoryDocument& oldDocument, const InventoryDocument& newDocument, bool spaceToo)
        : before(oldDocument), after(newDocument), withSpace(spaceToo) {}

    std::vector<Change> changes() {
        for (const KindDescription& kind : kinds()) compare(kind);
        return std::move(found);
    }

private:
    using Elements = std::vector<const DocumentElement*>;
    using Pairs = std::map<std::string, std::pair<Elements, Elements>, InOrderForPeople>;

    void compare(const KindDescription& kind) {
        arePlacesKnown = true;
        for (const std::string& className : kind.placeClasses)
            if (before.lacks(className) || after.lacks(className)) arePlacesKnown = false;
        Pairs byName;
        for (const DocumentElement& element : before.elements(kind.kind))
            byName[element.name].first.push_back(&element);
        for (const DocumentElement& element : after.elements(kind.kind))
            byName[element.name].second.push_back(&element);
        for (auto& [name, pair] : byName) {
            if (pair.first.size() + pair.second.size() <= kThoroughlyMatched) removeEqual(pair.first, pair.second);
            report(kind, name, pair.first, pair.second);
        }
    }

    /// Takes out what stands on both sides.
    void removeEqual(Elements& olds, Elements& news) const {
        for (auto old = olds.begin(); old != olds.end();) {
            auto same = news.begin();
            while (same != news.end() && !differences(**old, **same).empty()) ++same;
            if (same == news.end()) {
                ++old;
            } else {
                news.erase(same);
                old = olds.erase(old);
            }
        }
    }

    void report(const KindDescription& kind, const std::string& name, const Elements& olds, const Elements& news) {
        for (std::size_t i = 0; i < olds.size() || i < news.size(); ++i) {
            const DocumentElement* const old = i < olds.size() ? olds[i] : nullptr;
            const DocumentElement* const now = i < news.size() ? news[i] : nullptr;
            if (old == nullptr && before.lacks(kind.className)) continue;
            if (now == nullptr && after.lacks(kind.className)) continue;
            Change change{kind.kind, name, old, now, {}};
            if (old != nullptr && now != nullptr) change.values = differences(*old, *now);
            found.push_back(std::move(change));
        }
    }

    std::vector<ValueChange> differences(const DocumentElement& old, const DocumentElement& now) const {
        std::vector<ValueChange> list;
        std::map<std::string_view, std::pair<const DocumentValue*, const DocumentValue*>> byName;
        for (const auto& [name, value] : old.values) byName[name].first = &value;
        for (const auto& [name, value] : now.values) byName[name].second = &value;
        const bool isTotalElsewhere = isMeasuredElsewhere(old) || isMeasuredElsewhere(now);
        for (const auto& [name, pair] : byName) {
            if (!isCompared(name) || (name == "total" && isTotalElsewhere && !withSpace)) continue;
            if (isSame(name, pair.first, pair.second)) continue;
            ValueChange change{std::string(name), std::nullopt, std::nullopt};
            if (pair.first != nullptr) change.before = *pair.first;
            if (pair.second != nullptr) change.after = *pair.second;
            list.push_back(std::move(change));
        }
        return list;
    }

    bool isCompared(std::string_view name) const {
        if (name == "typeName") return false;  // words for the type, which may get better with a new version
        if (name == kPlaces) return arePlacesKnown;
        return withSpace || !movesBySelf(name);
    }

    bool isSame(std::string_view name, const DocumentValue* old, const DocumentValue* now) const {
        const bool isCut = !before.isComplete || !after.isComplete;
        if (old == nullptr || now == nullptr) return old == now || isCut;
        if (isCut && name == "mountPoints") {  // the further ones are looked up at the very end
            const auto& oldPoints = std::get<std::vector<std::string>>(*old);
            const auto& newPoints = std::get<std::vector<std::string>>(*now);
            return oldPoints.empty() || newPoints.empty() || oldPoints.front() == newPoints.front();
        }
        return *old == *now;
    }

    const InventoryDocument& before;
    const InventoryDocument& after;
    const bool withSpace;
    bool arePlacesKnown = true;  // of the kind being compared
    std::vector<Change> found;
};

void addDoubts(const InventoryDocument& document, const std::string& name, const char* wrongly,
               std::vector<std::string>& doubts) {
    std::string unknown;
    for (const KindDescription& kind : kinds())
        if (document.lacks(kind.className)) unknown += (unknown.empty() ? "" : ", ") + std::string(kind.plural);
    if (!document.isComplete)
        doubts.push_back(name + " is incomplete, because time ran out: what it lacks counts as unknown" +
                         (unknown.empty() ? "" : " (" + unknown + ")"));
    if (!document.failures.empty())
        doubts.push_back(name + " tells of a failure, so what seems to have " + wrongly +
                         " may only be missing there: " + document.failures.front());
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
    addDoubts(before, beforeName, "come", doubts);
    addDoubts(after, afterName, "gone", doubts);
    return doubts;
}

}  // namespace diskmgt
