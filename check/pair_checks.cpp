#include "check/pair_checks.h"

#include <string>
#include <string_view>

#include "inventory/inventory.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using Paths = std::unordered_set<std::string_view>;

void findMissingEnds(const PublishedClass& cls, const Paths& paths, CheckFindings& findings) {
    for (const refhost::Instance& pair : cls.instances)
        for (const refhost::PropertyValue& end : pair.properties) {
            if (end.declaration->type != "reference") continue;
            if (end.isNull) {
                if (!end.declaration->isKey)
                    findings.push_back(
                        {Check::kPairs, true, cls.declaration->name, "a pair has no " + end.declaration->name});
            } else {
                for (const std::string& path : end.elements)
                    if (paths.count(path) == 0)
                        findings.push_back(
                            {Check::kPairs, true, cls.declaration->name,
                             "a pair's " + end.declaration->name + " is " + path + ", which is not published"});
            }
        }
}

}  // namespace

CheckFindings checkPairs(const std::vector<PublishedClass>& published, const std::vector<refhost::Instance>& others) {
    CheckFindings findings;
    Paths paths;
    for (const refhost::Instance& instance : others) paths.insert(instance.path);
    for (const PublishedClass& cls : published)
        for (const refhost::Instance& instance : cls.instances) paths.insert(instance.path);
    for (const PublishedClass& cls : published)
        if (cls.declaration->isAssociation) findMissingEnds(cls, paths, findings);
    Published all;
    all.classes = published;
    for (const DoubtfulPair& pair : arrangeInventory(std::move(all), {}).doubtfulPairs)
        findings.push_back({Check::kPairs, false, pair.association,
                            pair.device + " is paired with " + pair.pairedWith + " because the names are alike" +
                                (pair.likely.empty() ? "" : "; it belongs to " + pair.likely)});
    return findings;
}

}  // namespace diskmgt
