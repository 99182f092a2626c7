// What each association pairs, and the order that follows from it.
#include "session/class_plan.h"

#include <algorithm>
#include <cstddef>

#include "schema/vocabulary.h"
#include "text/command_error.h"
#include "text/suggestions.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes

struct Reliance {
    std::string association;
    std::vector<std::string> classes;
};

/// The associations that are ever filled; the others rely on nothing.
const std::vector<Reliance>& reliances() {
    static const std::vector<Reliance> all = {
        {kMediaPresent, {kDiskDrive, kLogicalDisk}},
        {kPartitionPresent, {kDiskDrive, kDiskPartition}},
        {kLogicalDiskBasedOnPartition, {kDiskPartition, kLogicalDisk}},
    };
    return all;
}

const std::vector<std::string>& reliedOnBy(const std::string& className) {
    static const std::vector<std::string> nothing;
    for (const Reliance& reliance : reliances())
        if (className == reliance.association) return reliance.classes;
    return nothing;
}

/// True when the class at `position` relies on a class that is named only later.
bool standsTooEarly(const std::vector<std::string>& asked, std::size_t position) {
    const auto here = asked.begin() + static_cast<std::ptrdiff_t>(position);
    for (const std::string& needed : reliedOnBy(asked[position]))
        if (std::find(asked.begin(), here, needed) == here && std::find(here, asked.end(), needed) != asked.end())
            return true;
    return false;
}

}  // namespace

ClassPlan planRequest(const std::vector<std::string>& asked, bool exact) {
    ClassPlan plan;
    if (exact) {
        plan.request = asked;
        return plan;
    }
    std::vector<std::string> movedBack;
    for (std::size_t i = 0; i < asked.size(); ++i) {
        (standsTooEarly(asked, i) ? movedBack : plan.request).push_back(asked[i]);
        for (const std::string& needed : reliedOnBy(asked[i]))
            if (!contains(asked, needed) && !contains(plan.earlier, needed)) plan.earlier.push_back(needed);
    }
    plan.request.insert(plan.request.end(), movedBack.begin(), movedBack.end());
    return plan;
}

void requireKnownClasses(const refhost::ReferenceHost& host, const std::vector<std::string>& asked) {
    for (const std::string& name : asked) {
        if (host.findClass(name) != nullptr) continue;
        std::vector<std::string> known;
        for (const refhost::ClassDeclaration& declaration : host.classes()) known.push_back(declaration.name);
        throw CommandError(kWrongUsage, "unknown class \"" + name + "\"" + didYouMean(nearestNames(name, known)) +
                                            "; \"diskmgt classes\" lists the known ones");
    }
}

}  // namespace diskmgt
