// Quoting and joining.
#include "cli/printers/csv.h"

#include <cstddef>

#include "cli/readable_text.h"
#include "cli/wording.h"

namespace diskmgt_cli {

namespace {

std::string field(const std::string& text, bool forTerminal) {
    std::string fit = forTerminal ? escapedControls(text) : asUtf8(text);
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
                           bool forTerminal) {
    std::string rows;
    const char* separator = "";
    for (const std::size_t i : shown) {
        rows += separator + field(declaration.properties[i].name, forTerminal);
        separator = ",";
    }
    rows += "\r\n";
    for (const refhost::Instance& instance : instances) {
        separator = "";
        for (const std::size_t i : shown) {
            const refhost::PropertyValue& property = instance.properties[i];
            rows += separator;
            if (!property.isNull) rows += field(joined(property.elements, ","), forTerminal);
            separator = ",";
        }
        rows += "\r\n";
    }
    return rows;
}

}  // namespace diskmgt_cli
