// Quoting and joining.
#include "formats/csv.h"

#include <cstddef>
#include <string_view>

#include "text/readable_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

/// What makes a spreadsheet compute a field instead of showing it. A tab or a carriage return before one of the others
/// does not hide it.
constexpr std::string_view kFormulaBeginnings = "=+-@\t\r";

std::string field(const std::string& text, CsvFields fields) {
    std::string fit = fields.areForTerminal ? escapedControls(text) : asUtf8(text);
    const bool isFormula = !text.empty() && kFormulaBeginnings.find(text.front()) != std::string_view::npos;
    if (fields.areSafe && isFormula) fit.insert(fit.begin(), '\'');
    if (!fit.empty() && fit.find_first_of("\",\r\n") == std::string::npos) return fit;
    std::string quoted = "\"";
    for (const char letter : fit) {
        if (letter == '"') quoted += '"';
        quoted += letter;
    }
    return quoted + "\"";
}

}  // namespace

std::string csvOfInstances(const refhost::ClassDeclaration& declaration,
                           const std::vector<refhost::Instance>& instances, const std::vector<std::size_t>& shown,
                           CsvFields fields) {
    std::string rows;
    const char* separator = "";
    for (const std::size_t i : shown) {
        rows += separator + field(declaration.properties[i].name, fields);
        separator = ",";
    }
    rows += "\r\n";
    for (const refhost::Instance& instance : instances) {
        separator = "";
        for (const std::size_t i : shown) {
            const refhost::PropertyValue& property = instance.properties[i];
            rows += separator;
            if (!property.isNull) rows += field(joined(property.elements, ","), fields);
            separator = ",";
        }
        rows += "\r\n";
    }
    return rows;
}

}  // namespace diskmgt
