#include "cli/tables/tree_columns.h"

#include <algorithm>

#include "text/command_error.h"
#include "text/suggestions.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

TreeColumn columnNamed(const std::string& name) {
    const std::vector<std::string>& names = treeColumnNames();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) return static_cast<TreeColumn>(found - names.begin());
    throw CommandError(kWrongUsage, "tree has no column \"" + name + "\"" + didYouMean(nearestNames(name, names)) +
                                        "; the columns are: " + joined(names, ", "));
}

}  // namespace

const std::vector<std::string>& treeColumnNames() {
    static const std::vector<std::string> names = {
        "name",  "size",   "start", "type",      "used",       "use",     "free",  "avail", "cim",     "remark",
        "model", "serial", "wwid",  "transport", "rotational", "content", "label", "uuid",  "partuuid"};
    return names;
}

ColumnChoice chosenColumns(const std::vector<std::string>& names) {
    ColumnChoice choice;
    const bool isAddition = names.empty() || names.front().front() == '+';
    const std::size_t last = isAddition ? kRemarkColumn : kNameColumn;
    for (std::size_t column = 0; column <= last; ++column) choice.columns.push_back(static_cast<TreeColumn>(column));
    for (const std::string& name : names) {
        const bool isMarked = &name == &names.front() && isAddition;
        const TreeColumn column = columnNamed(isMarked ? name.substr(1) : name);
        if (contains(choice.columns, column)) continue;
        choice.columns.insert(isAddition ? choice.columns.end() - 1 : choice.columns.end(),
                              column);  // remarks are last
    }
    choice.isChosen = !isAddition;
    return choice;
}

}  // namespace diskmgt
