// The few libsmartcols calls that the tables need.
#include "cli/tables/text_table.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>

#include "text/readable_text.h"

namespace diskmgt {

namespace {

void require(bool succeeded) {
    if (!succeeded) throw std::bad_alloc();  // the only way these calls fail
}

/// Whole lines. The library fills up to the width of the last column.
std::string withoutTrailingBlanks(std::string_view lines) {
    std::string text;
    text.reserve(lines.size());
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        text += line.substr(0, line.find_last_not_of(' ') + 1);
        text += '\n';
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
    }
    return text;
}

}  // namespace

TextTable::TextTable(const TableStyle& style) : table(scols_new_table()), isColored(style.isColored) {
    require(table != nullptr);
    // Not as a terminal: values are never cut to its width, whatever the output is.
    require(scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER) == 0);
    require(scols_table_enable_colors(table.get(), isColored ? 1 : 0) == 0);
    require(scols_table_enable_ascii(table.get(), style.isAscii ? 1 : 0) == 0);
}

void TextTable::addColumn(const std::string& heading, Column kind) {
    const int flags = kind == Column::kNumber ? SCOLS_FL_RIGHT : kind == Column::kTree ? SCOLS_FL_TREE : 0;
    libscols_column* const column = scols_table_new_column(table.get(), heading.c_str(), 0, flags);
    require(column != nullptr);
    if (isColored) require(scols_cell_set_color(scols_column_get_header(column), "bold") == 0);
}

libscols_line* TextTable::addRow(libscols_line* parent) {
    libscols_line* const row = scols_table_new_line(table.get(), parent);
    require(row != nullptr);
    return row;
}

void TextTable::addColumns(const std::vector<std::string>& headings) {
    for (const std::string& heading : headings) addColumn(heading);
}

void TextTable::addRow(const std::vector<std::string>& cells) {
    libscols_line* const row = addRow();
    for (std::size_t column = 0; column < cells.size(); ++column) set(row, column, cells[column]);
}

void TextTable::set(libscols_line* row, std::size_t column, const std::string& text) {
    require(scols_line_set_data(row, column, withoutDirectionMarks(text).c_str()) == 0);
}

void TextTable::paint(libscols_line* row, std::size_t column, const char* color) {
    if (isColored) require(scols_cell_set_color(scols_line_get_cell(row, column), color) == 0);
}

std::string TextTable::print() const {
    char* printed = nullptr;
    const int result = scols_print_table_to_string(table.get(), &printed);
    const std::unique_ptr<char, decltype(&std::free)> owner(printed, &std::free);
    require(result == 0 && printed != nullptr);
    return withoutTrailingBlanks(printed);
}

}  // namespace diskmgt
