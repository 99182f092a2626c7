// TextTable: owns one libsmartcols table and fills it with texts.
#pragma once

#include <libsmartcols/libsmartcols.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cli/tables/table.h"

namespace diskmgt {

/// Throws `std::bad_alloc` when memory runs out.
class TextTable {
public:
    explicit TextTable(const TableStyle& style);

    enum class Column { kText, kNumber, kTree };
    void addColumn(const std::string& heading, Column kind = Column::kText);
    /// Columns of texts.
    void addColumns(const std::vector<std::string>& headings);
    /// A new row, below `parent` in a tree. The row belongs to the table.
    libscols_line* addRow(libscols_line* parent = nullptr);
    void addRow(const std::vector<std::string>& cells);
    void set(libscols_line* row, std::size_t column, const std::string& text);
    /// `color` is a name of the table library's; of no effect when the table is not coloured.
    void paint(libscols_line* row, std::size_t column, const char* color);
    /// The whole table with its headings; every line is ended.
    std::string print() const;

private:
    struct Release {
        void operator()(libscols_table* released) const noexcept { scols_unref_table(released); }
    };
    std::unique_ptr<libscols_table, Release> table;
    bool isColored;
};

}  // namespace diskmgt
