// Schema first, then the hosting system, which the keys of all the others repeat, then the rest as published.
#include "formats/inventory_mof.h"

#include <unordered_set>
#include <vector>

#include "formats/mof.h"
#include "text/readable_text.h"

namespace diskmgt {

namespace {

struct Selection {
    std::vector<refhost::Instance> kept;
    std::vector<std::string> leftOut;  // their paths
};

Selection withDistinctKeys(const Published& published) {
    Selection selection;
    std::unordered_set<std::string> seen;
    const auto take = [&](const std::vector<refhost::Instance>& instances) {
        for (const refhost::Instance& instance : instances) {
            // In the text, bytes that are not UTF-8 all become the same character.
            if (seen.insert(asUtf8(instance.path)).second)
                selection.kept.push_back(instance);
            else
                selection.leftOut.push_back(instance.path);
        }
    };
    take(published.systems);
    for (const PublishedClass& cls : published.classes) take(cls.instances);
    return selection;
}

}  // namespace

std::string inventoryMof(const Inventory& inventory) {
    return std::string(refhost::ReferenceHost::baseMof()) + "\n" + refhost::ReferenceHost::vendorMof() + "\n" +
           mofInstances(withDistinctKeys(inventory.published).kept);
}

std::string mofRemark(const Inventory& inventory) {
    const std::vector<std::string> leftOut = withDistinctKeys(inventory.published).leftOut;
    if (leftOut.empty()) return {};
    if (leftOut.size() == 1) return "left out, because another instance has the same keys: " + leftOut.front();
    return "left out, because other instances have the same keys: " + leftOut.front() + " and " +
           std::to_string(leftOut.size() - 1) + " more";
}

}  // namespace diskmgt
