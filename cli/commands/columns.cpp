// Looks the names up in the declarations.
#include "cli/commands/columns.h"

#include <algorithm>
#include <set>

#include "terminal/remarks.h"
#include "text/command_error.h"
#include "text/suggestions.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

bool has(const refhost::ClassDeclaration& declaration, const std::string& column) {
    return std::any_of(declaration.properties.begin(), declaration.properties.end(),
                       [&column](const refhost::PropertyDeclaration& property) { return property.name == column; });
}

[[noreturn]] void refuseColumn(const refhost::ReferenceHost& host, const std::set<std::string>& classNames,
                               const std::string& column) {
    std::set<std::string> known;
    for (const std::string& name : classNames)
        for (const refhost::PropertyDeclaration& property : host.findClass(name)->properties)
            known.insert(property.name);
    throw CommandError(
        kWrongUsage,
        (classNames.size() == 1 ? *classNames.begin() + " has no property" : "none of the classes has a property") +
            " \"" + column + "\"" + didYouMean(nearestNames(column, {known.begin(), known.end()})) +
            "; \"diskmgt classes " + *classNames.begin() + "\" lists the properties");
}

[[noreturn]] void refuseClass(const std::string& name) {
    throw CommandError(kWrongUsage, name + " has none of the properties that --columns names; \"diskmgt classes " +
                                        name + "\" lists those it has");
}

}  // namespace

void requireKnownColumns(const refhost::ReferenceHost& host, const std::vector<std::string>& classNames,
                         const std::vector<std::string>& columns) {
    const std::set<std::string> classes(classNames.begin(), classNames.end());
    std::vector<std::string> absences;
    for (const std::string& column : std::set<std::string>(columns.begin(), columns.end())) {
        std::vector<std::string> lacking;
        for (const std::string& name : classes)
            if (!has(*host.findClass(name), column)) lacking.push_back(name);
        if (lacking.size() == classes.size()) refuseColumn(host, classes, column);
        for (const std::string& name : lacking) {
            absences.push_back(name);
            absences.back().append(" has no property ").append(column).append("; its rows go without that column");
        }
    }
    for (const std::string& name : classes)
        if (!columns.empty() && columnPositions(*host.findClass(name), columns).empty()) refuseClass(name);
    for (const std::string& absence : absences) writeRemark(absence);
}

std::vector<std::size_t> columnPositions(const refhost::ClassDeclaration& declaration,
                                         const std::vector<std::string>& columns) {
    const std::vector<refhost::PropertyDeclaration>& properties = declaration.properties;
    std::vector<std::size_t> positions;
    if (columns.empty())
        for (std::size_t i = 0; i < properties.size(); ++i) positions.push_back(i);
    for (const std::string& column : columns)
        for (std::size_t i = 0; i < properties.size(); ++i)
            if (properties[i].name == column) positions.push_back(i);
    return positions;
}

std::vector<std::size_t> positionsWithValues(const std::vector<refhost::Instance>& instances) {
    std::vector<std::size_t> positions;
    const std::size_t count = instances.empty() ? 0 : instances.front().properties.size();
    for (std::size_t i = 0; i < count; ++i) {
        const auto isSet = [i](const refhost::Instance& instance) { return !instance.properties[i].isNull; };
        if (std::any_of(instances.begin(), instances.end(), isSet)) positions.push_back(i);
    }
    return positions;
}

}  // namespace diskmgt
