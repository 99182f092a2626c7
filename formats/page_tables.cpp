// One row a partition, one row a file system.
#include "formats/page_tables.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "formats/drive_picture.h"

namespace diskmgt {

namespace {

enum class Column { kText, kNumber, kTwoNumbers };

void beginTable(HtmlWriter& out, const char* caption, std::initializer_list<std::pair<const char*, Column>> columns) {
    out.raw("<div class='scroll' tabindex='0' role='region' aria-label='").raw(caption).raw("'><table><caption>");
    out.raw(caption).raw("</caption>\n<thead><tr>");
    for (const auto& [title, kind] : columns) {
        out.raw(kind == Column::kText     ? "<th scope='col'>"
                : kind == Column::kNumber ? "<th scope='col' class='number'>"
                                          : "<th scope='colgroup' colspan='2' class='number'>");
        out.raw(title).raw("</th>");
    }
    out.raw("</tr></thead>\n<tbody>\n");
}

void endTable(HtmlWriter& out) { out.raw("</tbody></table></div>\n"); }

void partitionRow(HtmlWriter& out, const Partition& partition, bool isLogical) {
    out.raw("<tr><th scope='row' class='first").raw(isLogical ? " inside" : "").raw("'><span class='dot ");
    out.raw(cssClassOf(partition)).raw("'></span><span class='name'>").text(partition.device).raw("</span>");
    if (partition.isBootable && partition.table == TableKind::kMbr)  // GPT has no such flag
        out.raw("<span class='tag'>boot flag</span>");
    out.raw("</th><td>").text(partition.typeName).raw("</td><td>");
    out.raw(partition.table == TableKind::kGpt ? "GPT" : "MBR").raw("</td><td class='number'>");
    if (partition.start)
        out.size(*partition.start);
    else
        out.raw("<span class='soft'>unknown</span>");
    out.raw("</td><td class='number'>").size(partition.size).raw("</td></tr>\n");
}

void usedCells(HtmlWriter& out, const Space& space, int percent) {
    const std::string text = std::to_string(percent);
    out.raw("<td class='number'><span class='meter").raw(percent >= kNearlyFullPercent ? " full" : "");
    out.raw("' aria-hidden='true'><b style='width:").raw(text).raw("%'></b></span><span class='part'>").raw(text);
    out.raw("\u2009%</span></td><td class='number'>").size(space.used()).raw("</td>");
}

void spaceCells(HtmlWriter& out, const LogicalDisk& disk) {
    const std::optional<int> percent = usedShareOf(disk) ? disk.space->usedPercent() : std::nullopt;
    if (!percent) {
        out.raw("<td class='number soft' colspan='5'>").raw(disk.space ? "no space of its own" : "not measured");
        out.raw("</td>");
        return;
    }
    usedCells(out, *disk.space, *percent);
    out.raw("<td class='number'>").size(disk.space->free).raw("</td><td class='number'>");
    if (disk.space->available)
        out.size(*disk.space->available);
    else
        out.raw("<span class='soft'>unknown</span>");
    out.raw("</td><td class='number'>").size(disk.space->total).raw("</td>");
}

void fileSystemRow(HtmlWriter& out, const LogicalDisk& disk) {
    out.raw("<tr><th scope='row'><span class='name'>").text(disk.mountPoint).raw("</span>");
    for (const std::string& further : disk.furtherMountPoints)
        out.raw("<br><span class='name soft' title='mounted here too'>").text(further).raw("</span>");
    out.raw("</th><td><span class='name' title='").text(disk.options).raw("'>").text(disk.source);
    out.raw("</span></td><td>").text(disk.fileSystem).raw("</td>");
    spaceCells(out, disk);
    out.raw("</tr>\n");
}

}  // namespace

void partitionTable(HtmlWriter& out, const Inventory& inventory, const std::vector<std::size_t>& positions) {
    if (positions.empty()) return;
    beginTable(out, "Partitions",
               {{"Device", Column::kText},
                {"Type", Column::kText},
                {"Table", Column::kText},
                {"Begins at", Column::kNumber},
                {"Size", Column::kNumber}});
    for (const std::size_t position : positions) {
        const Partition& partition = inventory.partitions[position];
        partitionRow(out, partition, false);
        for (const std::size_t logical : partition.logicals) partitionRow(out, inventory.partitions[logical], true);
    }
    endTable(out);
}

void fileSystemTable(HtmlWriter& out, const Inventory& inventory, const std::vector<std::size_t>& positions) {
    if (positions.empty()) return;
    beginTable(out, "File systems",
               {{"Mounted at", Column::kText},
                {"Source", Column::kText},
                {"Type", Column::kText},
                {"Used", Column::kTwoNumbers},
                {"Free", Column::kNumber},
                {"Available", Column::kNumber},
                {"Size", Column::kNumber}});
    for (const std::size_t position : positions) fileSystemRow(out, inventory.logicalDisks[position]);
    endTable(out);
}

}  // namespace diskmgt
