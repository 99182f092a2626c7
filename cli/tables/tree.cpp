#include "cli/tables/tree.h"

#include <algorithm>
#include <array>

#include "cli/tables/text_table.h"
#include "inventory/space.h"
#include "text/display_width.h"
#include "text/paragraph.h"

namespace diskmgt {

namespace {

constexpr std::size_t kBarWidth = 8;
constexpr std::size_t kIndent = 2;  // that the table library draws for each level

struct ColumnTraits {
    const char* heading;
    std::size_t fewest;  // width it may be shortened to; 0: never shortened
    TextTable::Column kind;
    Keep keep;
};

constexpr ColumnTraits kColumns[kTreeColumns] = {
    {"Name", 16, TextTable::Column::kTree, Keep::kBothEnds},
    {"Size", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"Start", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"Type", 12, TextTable::Column::kText, Keep::kBeginning},
    {"Used", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"Use", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"Free", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"Avail", 0, TextTable::Column::kNumber, Keep::kBeginning},
    {"CIM", 16, TextTable::Column::kText, Keep::kBeginning},
    {"Remark", 20, TextTable::Column::kText, Keep::kBeginning},
    {"Model", 8, TextTable::Column::kText, Keep::kBeginning},
    {"Serial", 8, TextTable::Column::kText, Keep::kBothEnds},
    {"WWID", 12, TextTable::Column::kText, Keep::kBothEnds},
    {"Transport", 0, TextTable::Column::kText, Keep::kBeginning},
    {"Rotational", 0, TextTable::Column::kText, Keep::kBeginning},
    {"Content", 0, TextTable::Column::kText, Keep::kBeginning},
    {"Label", 8, TextTable::Column::kText, Keep::kBeginning},
    {"UUID", 0, TextTable::Column::kText, Keep::kBeginning},
    {"PARTUUID", 0, TextTable::Column::kText, Keep::kBeginning},
};

/// What a narrow terminal does without, first things first; the bar goes before all of them.
constexpr TreeColumn kDispensable[] = {
    kUsedColumn,  kStartColumn,  kFreeColumn,   kAvailableColumn,  kUseColumn,       kPartUuidColumn,
    kUuidColumn,  kWwidColumn,   kLabelColumn,  kRotationalColumn, kTransportColumn, kContentColumn,
    kModelColumn, kRemarkColumn, kSerialColumn, kTypeColumn,       kSizeColumn,      kCimColumn};
/// What is shortened then, likewise.
constexpr TreeColumn kShortened[] = {kRemarkColumn, kModelColumn, kLabelColumn, kSerialColumn,
                                     kWwidColumn,   kTypeColumn,  kCimColumn,   kNameColumn};

std::string bar(int percent, bool isAscii) {
    const auto filled = static_cast<std::size_t>(percent) * kBarWidth / 100;
    std::string text;
    for (std::size_t i = 0; i < kBarWidth; ++i) text += i < filled ? (isAscii ? "#" : "█") : (isAscii ? "-" : "░");
    return text + " ";
}

class Layout {
public:
    Layout(const Tree& shown, const TableStyle& chosen, const ColumnChoice& columns, std::size_t width)
        : tree(shown), style(chosen), choice(columns), terminalWidth(width) {
        measure();
        if (width > 0) fit(width);
    }

    std::string table() const {
        TextTable table(style);
        std::array<std::size_t, kTreeColumns> places{};  // of the columns that are shown
        std::size_t count = 0;
        for (const TreeColumn column : choice.columns) {
            if (widths[column] == 0) continue;
            places[column] = count++;
            table.addColumn(kColumns[column].heading, kColumns[column].kind);
        }
        std::vector<libscols_line*> parents;
        for (const TreeRow& row : tree.rows) {
            parents.resize(std::min(parents.size(), row.depth));
            libscols_line* const line = table.addRow(parents.empty() ? nullptr : parents.back());
            parents.push_back(line);
            for (const TreeColumn column : choice.columns) {
                if (widths[column] == 0) continue;
                table.set(line, places[column], shownCell(row, column));
                if (const char* const color = colorOf(row, column)) table.paint(line, places[column], color);
            }
        }
        return withHeadings(table.print());
    }

    /// A note about the columns that are left out; empty when none is.
    const std::string& leftOut() const { return leftOutHeadings; }

private:
    /// A heading takes the whole line, so that it widens no column.
    std::string withHeadings(const std::string& printed) const {
        std::string text = printed.substr(0, printed.find('\n') + 1);
        std::size_t start = text.size();
        for (const TreeRow& row : tree.rows) {
            const std::size_t end = printed.find('\n', start) + 1;
            text += row.kind == TreeRow::Kind::kHeading ? headingLine(row) : printed.substr(start, end - start);
            start = end;
        }
        return text;
    }

    std::string headingLine(const TreeRow& row) const {
        const std::string& whole = row.cells[kNameColumn];
        const std::string shown = terminalWidth == 0 ? whole : shortened(whole, terminalWidth, Keep::kBeginning);
        return title(shown, style) + "\n";
    }

    std::string cell(const TreeRow& row, std::size_t column) const {
        if (row.kind == TreeRow::Kind::kHeading) return {};
        if (column != kUseColumn) return row.cells[column];
        if (row.usedPercent < 0) return {};
        return (hasBar ? bar(row.usedPercent, style.isAscii) : "") + percentText(row.usedPercent);
    }

    /// Of one width, so that the bars stand below each other.
    static std::string percentText(int percent) {
        const std::string text = std::to_string(percent) + "%";
        return std::string(text.size() < 4 ? 4 - text.size() : 0, ' ') + text;
    }

    std::string shownCell(const TreeRow& row, std::size_t column) const {
        const std::size_t indent = column == kNameColumn ? row.depth * kIndent : 0;
        const std::size_t room = widths[column] - std::min(indent, widths[column]);
        return shortened(cell(row, column), room, kColumns[column].keep);
    }

    static const char* colorOf(const TreeRow& row, std::size_t column) {
        if (column == kNameColumn && row.kind != TreeRow::Kind::kOther) return "bold";
        if (column == row.doubtful) return "yellow";
        return column == kUseColumn && row.usedPercent >= kNearlyFullPercent ? "red" : nullptr;
    }

    void measure(std::size_t column) {
        widths[column] = 0;
        for (const TreeRow& row : tree.rows) {
            const std::size_t indent = column == kNameColumn ? row.depth * kIndent : 0;
            const std::string text = cell(row, column);
            if (!text.empty()) widths[column] = std::max(widths[column], displayWidth(text) + indent);
        }
        if (widths[column] > 0 || choice.isChosen)
            widths[column] = std::max(widths[column], displayWidth(kColumns[column].heading));
    }

    void measure() {
        for (const TreeColumn column : choice.columns) measure(column);
    }

    std::size_t fewestWidth(std::size_t column) const {
        const std::size_t fewest = kColumns[column].fewest;
        return fewest == 0 ? widths[column] : std::min(widths[column], fewest);
    }

    /// The width of all columns with a blank between two: as they are, or shortened as far as they may be.
    std::size_t total(bool isShortened) const {
        std::size_t sum = 0;
        for (std::size_t column = 0; column < kTreeColumns; ++column)
            if (widths[column] > 0) sum += (isShortened ? fewestWidth(column) : widths[column]) + 1;
        return sum == 0 ? 0 : sum - 1;
    }

    void fit(std::size_t width) {
        if (total(false) <= width) return;
        hasBar = false;
        if (widths[kUseColumn] > 0) measure(kUseColumn);
        for (const TreeColumn column : kDispensable) {
            if (total(true) <= width) break;
            leaveOut(column);
        }
        for (const TreeColumn column : kShortened) {
            const std::size_t now = total(false);
            if (now > width) widths[column] -= std::min(now - width, widths[column] - fewestWidth(column));
        }
        const std::size_t now = total(false);
        if (now > width) widths[kNameColumn] -= std::min(now - width, widths[kNameColumn] - 1);  // a very narrow one
    }

    void leaveOut(TreeColumn column) {
        if (widths[column] == 0) return;
        widths[column] = 0;
        leftOutHeadings += (leftOutHeadings.empty() ? "" : ", ") + std::string(kColumns[column].heading);
    }

    const Tree& tree;
    const TableStyle& style;
    const ColumnChoice& choice;
    const std::size_t terminalWidth;                 // 0: no terminal
    std::array<std::size_t, kTreeColumns> widths{};  // 0: not shown
    bool hasBar = true;
    std::string leftOutHeadings;
};

}  // namespace

std::string printedTree(const Tree& tree, const TableStyle& style, std::size_t width, const ColumnChoice& choice) {
    const Layout layout(tree, style, choice, width);
    std::string text = tree.rows.empty() ? "" : layout.table();
    const char* separator = text.empty() ? "" : "\n";
    for (const std::string& note : tree.notes) {
        text += separator + paragraph("", note, width);
        separator = "";
    }
    if (!layout.leftOut().empty())
        text += separator + paragraph("", "Terminal too narrow to show: " + layout.leftOut(), width);
    return text;
}

}  // namespace diskmgt
