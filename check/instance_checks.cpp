#include "check/instance_checks.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "inventory/instance_values.h"
#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes and properties

using Positions = std::vector<std::size_t>;

std::string withoutNumber(const std::string& device) {
    return device.substr(0, device.find_last_not_of("0123456789") + 1);
}

class KeyCheck {
public:
    explicit KeyCheck(const std::vector<PublishedClass>& all) : published(all) {}

    CheckFindings run() {
        for (const PublishedClass& cls : published) {
            findNullKeys(cls);
            findEqualKeys(cls);
        }
        return std::move(findings);
    }

private:
    void findNullKeys(const PublishedClass& cls) {
        std::map<std::string, std::size_t> missing;  // by key
        for (const refhost::Instance& instance : cls.instances)
            for (const refhost::PropertyValue& value : instance.properties)
                if (value.declaration->isKey && value.isNull) ++missing[value.declaration->name];
        for (const auto& [key, count] : missing)
            add(cls, true, "the key " + key + " has no value in " + counted(count, "instance"));
    }

    void findEqualKeys(const PublishedClass& cls) {
        std::unordered_map<std::string, Positions> byPath;
        for (std::size_t i = 0; i < cls.instances.size(); ++i) byPath[cls.instances[i].path].push_back(i);
        std::set<std::string> seen;
        for (const refhost::Instance& instance : cls.instances) {
            const Positions& equal = byPath[instance.path];
            if (equal.size() < 2 || !seen.insert(instance.path).second) continue;
            const std::string reason = reasonOnDisk(cls, instance);
            if (!reason.empty()) namedTwice.insert(instance.path);
            add(cls, reason.empty(),
                counted(equal.size(), "instance") + " have the keys of " + instance.path +
                    (reason.empty() ? "" : ": " + reason));
        }
    }

    /// Why the disks give two things this name; empty when they do not.
    std::string reasonOnDisk(const PublishedClass& cls, const refhost::Instance& instance) const {
        if (cls.declaration->name == kDiskPartition) {
            const std::string& device = textOf(instance, kDeviceId);
            if (!device.empty() && withoutNumber(device).empty())
                return "partitions without a node of their own are called by their number alone";
            const std::size_t count = extendedPartitionsBeside(device);
            return count < 2 ? "" : "their disk has " + counted(count, "extended partition");
        }
        if (!cls.declaration->isAssociation) return {};
        for (const refhost::PropertyValue& end : instance.properties)
            if (end.declaration->type == "reference" && !end.isNull && namedTwice.count(end.elements.front()) != 0)
                return "what they pair has its keys twice too";
        return {};
    }

    std::size_t extendedPartitionsBeside(const std::string& device) const {
        static const std::string kExtended = "2";
        std::size_t count = 0;
        for (const PublishedClass& cls : published) {
            if (cls.declaration->name != kDiskPartition) continue;
            for (const refhost::Instance& other : cls.instances)
                if (textOf(other, kPartitionType) == kExtended &&
                    withoutNumber(textOf(other, kDeviceId)) == withoutNumber(device))
                    ++count;
        }
        return count;
    }

    void add(const PublishedClass& cls, bool isFailure, const std::string& text) {
        findings.push_back({Check::kKeys, isFailure, cls.declaration->name, text});
    }

    const std::vector<PublishedClass>& published;
    std::set<std::string> namedTwice;  // paths; by the disks' doing
    CheckFindings findings;
};

}  // namespace

CheckFindings checkKeys(const std::vector<PublishedClass>& published) { return KeyCheck(published).run(); }

}  // namespace diskmgt
