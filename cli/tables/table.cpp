#include "cli/tables/table.h"

#include <langinfo.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <string_view>

#include "cli/tables/text_table.h"
#include "schema/vocabulary.h"
#include "text/paragraph.h"
#include "text/readable_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

// Of a class's descriptions. The same for every output, so that a page in a file reads like the terminal.
constexpr std::size_t kParagraphWidth = 79;

bool isNumeric(const refhost::PropertyDeclaration& property) {
    return !property.isArray && (property.type.rfind("uint", 0) == 0 || property.type.rfind("sint", 0) == 0);
}

/// The heading of the column that names the numbers of a property.
std::string namesHeading(const std::string& property) {
    return property == diskmgt_col::kPartitionType ? "Type" : property + " name";
}

std::string meaningOf(const refhost::PropertyDeclaration& property, const std::string& value) {
    for (const auto& [number, meaning] : property.valueNames)
        if (number == value) return meaning;
    return {};
}

std::string typeText(const refhost::PropertyDeclaration& property) {
    const std::string type = property.referenceClass.empty() ? property.type : property.referenceClass + " REF";
    return property.isArray ? type + "[]" : type;
}

std::string marks(const refhost::ClassDeclaration& declaration) {
    if (declaration.isAbstract && declaration.isAssociation) return "abstract association";
    if (declaration.isAbstract) return "abstract";
    return declaration.isAssociation ? "association" : "";
}

/// Without the columns that have nothing in any row.
std::string propertyTable(const std::vector<refhost::PropertyDeclaration>& properties, const TableStyle& style) {
    const std::vector<std::string> headings = {"Property", "Type", "Key", "Unit", "Declared in"};
    std::vector<std::vector<std::string>> rows;
    for (const refhost::PropertyDeclaration& property : properties)
        rows.push_back(
            {property.name, typeText(property), property.isKey ? "Key" : "", property.unit, property.declaredIn});
    std::vector<std::size_t> shown;
    for (std::size_t column = 0; column < headings.size(); ++column)
        if (std::any_of(rows.begin(), rows.end(),
                        [column](const std::vector<std::string>& row) { return !row[column].empty(); }))
            shown.push_back(column);
    TextTable table(style);
    for (const std::size_t column : shown) table.addColumn(headings[column]);
    for (const std::vector<std::string>& row : rows) {
        std::vector<std::string> cells;
        for (const std::size_t column : shown) cells.push_back(row[column]);
        table.addRow(cells);
    }
    return table.print();
}

}  // namespace

TableStyle chooseStyle(ColorChoice choice, bool toTerminal) {
    TableStyle style;
    style.isAscii = std::string_view(::nl_langinfo(CODESET)) != "UTF-8";
    const char* const noColor = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    const bool isWelcome =
        (noColor == nullptr || *noColor == '\0') && (terminal == nullptr || std::string_view(terminal) != "dumb");
    style.isColored = choice == ColorChoice::kAlways || (choice == ColorChoice::kAuto && toTerminal && isWelcome);
    return style;
}

std::string title(const std::string& text, const TableStyle& style) {
    const std::string readable = escapedControls(text);
    return style.isColored ? "\033[1m" + readable + "\033[0m" : readable;
}

std::string instanceTable(const refhost::ClassDeclaration& declaration, const std::vector<refhost::Instance>& instances,
                          const std::vector<std::size_t>& shown, const TableStyle& style) {
    std::string heading = title(declaration.name, style) + " (" + counted(instances.size(), "instance") + ")\n";
    TextTable table(style);
    for (const std::size_t i : shown) {
        const refhost::PropertyDeclaration& property = declaration.properties[i];
        table.addColumn(property.name, isNumeric(property) ? TextTable::Column::kNumber : TextTable::Column::kText);
        if (!property.valueNames.empty()) table.addColumn(namesHeading(property.name));
    }
    if (shown.empty() || instances.empty()) return heading;
    for (const refhost::Instance& instance : instances) {
        libscols_line* const row = table.addRow();
        std::size_t column = 0;
        for (const std::size_t i : shown) {
            const std::string value = joined(instance.properties[i].elements, ", ");
            table.set(row, column++, value);
            const refhost::PropertyDeclaration& property = declaration.properties[i];
            if (!property.valueNames.empty()) table.set(row, column++, meaningOf(property, value));
        }
    }
    return heading + table.print();
}

std::string classTree(const std::vector<refhost::ClassDeclaration>& classes, const std::vector<std::string>& served,
                      const TableStyle& style) {
    TextTable table(style);
    table.addColumn("Class", TextTable::Column::kTree);
    table.addColumn("Kind");
    table.addColumn("Served");
    std::map<std::string, libscols_line*> rows;
    for (const refhost::ClassDeclaration& declaration : classes) {
        const auto parent = rows.find(declaration.superclass);  // declared before what derives from it
        libscols_line* const row = table.addRow(parent == rows.end() ? nullptr : parent->second);
        rows[declaration.name] = row;
        table.set(row, 0, declaration.name);
        table.set(row, 1, marks(declaration));
        table.set(row, 2, contains(served, declaration.name) ? "yes" : "");
    }
    return table.print();
}

std::string classTable(const refhost::ClassDeclaration& declaration, const TableStyle& style) {
    const std::string kind = marks(declaration);
    std::string text = title(declaration.name, style) + (kind.empty() ? "" : " (" + kind + ")");
    if (!declaration.superclass.empty()) text += " : " + declaration.superclass;
    text += "\n";
    if (!declaration.description.empty()) text += paragraph("", declaration.description, kParagraphWidth);
    if (!declaration.properties.empty()) text += "\n" + propertyTable(declaration.properties, style) + "\n";
    for (const refhost::PropertyDeclaration& property : declaration.properties)
        if (!property.description.empty())
            text += title(property.name + ":", style) + "\n" + paragraph("    ", property.description, kParagraphWidth);
    for (const refhost::PropertyDeclaration& property : declaration.properties) {
        if (property.valueNames.empty()) continue;
        text += "\n" + title(property.name, style) + "\n";
        TextTable values(style);
        values.addColumn("Value", TextTable::Column::kNumber);
        values.addColumn("Meaning");
        for (const auto& [value, meaning] : property.valueNames) values.addRow({value, meaning});
        text += values.print();
    }
    return text;
}

std::string pluginTable(const refhost::PluginIdentity& identity, const TableStyle& style) {
    TextTable table(style);
    table.addColumns({"Name", "Version", "Interface version"});
    table.addColumn("Type", TextTable::Column::kNumber);
    table.addColumn("File");
    table.addRow(
        {identity.name, identity.version, identity.interfaceVersion, std::to_string(identity.type), identity.file});
    return table.print();
}

}  // namespace diskmgt
