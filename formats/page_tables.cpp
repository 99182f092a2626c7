// On a narrow page a row becomes a block: name and size side by side, each other cell a line with its column's title.
#include "formats/page_tables.h"

#include <initializer_list>
#include <string>
#include <utility>

#include "formats/drive_picture.h"
#include "formats/page_words.h"
#include "inventory/device_texts.h"

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

void sizeCell(HtmlWriter& out, const std::optional<std::uint64_t>& bytes) {
    out.raw("<td class='number size'>");
    bytes ? out.size(*bytes) : out.raw("<span class='soft'>unknown</span>");
    out.raw("</td>");
}

void numberCell(HtmlWriter& out, const char* title, const std::optional<std::uint64_t>& bytes) {
    out.raw("<td class='number' data-label='").raw(title).raw("'>");
    if (bytes) out.size(*bytes);
    out.raw("</td>");
}

void cimCell(HtmlWriter& out, const CimAnswer& answer, std::size_t partitions = 0) {
    const Words words = cimWords(answer, partitions);
    out.raw("<td class='cim ").raw(answer.isReported() ? "yes" : answer.isUnknown() ? "unknown" : "no");
    out.raw(answer.isReported() && !answer.differs.empty() ? " differs" : "").raw("' data-label='CIM'");
    if (!words.full.empty()) out.raw(" title='").text(words.full).raw("'");
    out.raw("><span>").text(words.brief).raw("</span></td>");
}

class DeviceRows {
public:
    DeviceRows(HtmlWriter& writer, const ServerAccount& shown) : out(writer), account(shown) {}

    void add(const DeviceRow& row) {
        const auto& device = account.device(row.device);
        out.raw("<tr><th scope='row' class='device' style='--depth:").number(row.depth).raw("'><span class='dot ");
        out.raw(row.depth == 0 ? "whole" : cssClassOf(devicePurpose(account, row.device)));
        out.raw("'></span><span class='name'>").text(device.path()).raw("</span>");
        tags(row.device);
        out.raw("</th>");
        if (row.shownBeneath) {
            out.raw("<td class='soft wide' colspan='5' data-label='Shown'>shown beneath <span class='name'>");
            out.text(account.device(*row.shownBeneath).path()).raw("</span></td></tr>\n");
            return;
        }
        sizeCell(out, device.sizeBytes);
        out.raw("<td data-label='Kind'><span>").breakable(kindWords(account, row.device)).raw("</span></td>");
        numberCell(out, "Begins at", device.startBytes);
        use(row.device);
        const DeviceAccount& more = account.devices[row.device];
        cimCell(out, more.partition ? *more.partition : *more.drive, more.partitionsByKernel);
        out.raw("</tr>\n");
    }

private:
    void tag(bool isSet, const char* words) {
        if (isSet) out.raw("<span class='tag'>").raw(words).raw("</span>");
    }

    void tags(std::size_t position) {
        const auto& device = account.device(position);
        const auto& published = account.devices[position].published;
        const Partition* const partition = published ? &account.inventory().partitions[*published] : nullptr;
        tag(partition != nullptr && partition->isBootable && partition->table == TableKind::kMbr, "boot flag");
        tag(device.isReadOnly, "read-only");
        tag(device.isRemovable, "removable");
    }

    void use(std::size_t position) {
        out.raw("<td data-label='Use'><span>").breakable(useWords(account, position));
        for (const std::size_t swap : account.devices[position].swaps) {
            const auto& area = account.machine.swaps[swap];
            out.raw(", ").size(area.usedBytes).raw(" of ").size(area.sizeBytes).raw(" used");
        }
        out.raw("<br><span class='soft'>").text(contentWords(account, position)).raw("</span></span></td>");
    }

    HtmlWriter& out;
    const ServerAccount& account;
};

void usedCells(HtmlWriter& out, const Space& space, int percent) {
    const std::string text = std::to_string(percent);
    out.raw("<td class='number' data-label='Used'><span><span class='meter");
    out.raw(percent >= kNearlyFullPercent ? " full" : "");
    out.raw("' aria-hidden='true'><b style='width:").raw(text).raw("%'></b></span><span class='part'>").raw(text);
    out.raw("\u2009%</span></span></td><td class='number' data-label='In use'>").size(space.used()).raw("</td>");
}

void spaceCells(HtmlWriter& out, const MountAccount& mount) {
    if (!mount.space) {
        out.raw("<td class='number size soft'>unknown</td><td class='soft wide' colspan='4' data-label='Space'>");
        out.text(mount.reason ? mount.reason->brief : "not measured").raw("</td>");
        return;
    }
    sizeCell(out, mount.space->total);
    if (const std::optional<int> percent = mount.space->usedPercent())
        usedCells(out, *mount.space, *percent);
    else
        out.raw("<td class='soft wide' colspan='2' data-label='Used'>nothing usable</td>");
    numberCell(out, "Free", mount.space->free);
    numberCell(out, "Available", mount.space->available);
}

void fileSystemRow(HtmlWriter& out, const ServerAccount& account, const MountsOfOne& mounts) {
    const std::size_t main = mainMountOf(account, mounts);
    const auto& mount = account.machine.mounts[main];
    out.raw("<tr><th scope='row' class='place'><span class='name'>").breakable(mount.mountPoint).raw("</span>");
    for (const std::size_t further : mounts)
        if (further != main)
            out.raw("<br><span class='name soft' title='mounted here too'>")
                .breakable(account.machine.mounts[further].mountPoint)
                .raw("</span>");
    out.raw("</th>");
    spaceCells(out, account.mounts[main]);
    out.raw("<td class='source' data-label='Source'><span><span class='name' title='").text(mount.options).raw("'>");
    out.breakable(mount.source).raw("</span> <span class='soft'>").text(mount.type).raw("</span></span></td>");
    std::size_t reported = main;
    for (const std::size_t any : mounts)
        if (!account.mounts[reported].logicalDisk.isReported() && account.mounts[any].logicalDisk.isReported())
            reported = any;
    cimCell(out, account.mounts[reported].logicalDisk);
    out.raw("</tr>\n");
}

}  // namespace

void deviceTable(HtmlWriter& out, const ServerAccount& account, const std::vector<const DeviceGroup*>& groups) {
    beginTable(out, "Devices",
               {{"Device", Column::kText},
                {"Size", Column::kNumber},
                {"Kind", Column::kText},
                {"Begins at", Column::kNumber},
                {"Use and content", Column::kText},
                {"Reported by CIM", Column::kText}});
    DeviceRows rows(out, account);
    for (const DeviceGroup* const group : groups)
        for (const DeviceRow& row : group->rows) rows.add(row);
    endTable(out);
}

void fileSystemTable(HtmlWriter& out, const ServerAccount& account, const std::vector<MountsOfOne>& fileSystems) {
    if (fileSystems.empty()) return;
    beginTable(out, "File systems",
               {{"Mounted at", Column::kText},
                {"Size", Column::kNumber},
                {"Used", Column::kTwoNumbers},
                {"Free", Column::kNumber},
                {"Available", Column::kNumber},
                {"Source", Column::kText},
                {"Reported by CIM", Column::kText}});
    for (const MountsOfOne& mounts : fileSystems) fileSystemRow(out, account, mounts);
    endTable(out);
}

void cimOnlyTable(HtmlWriter& out, const ServerAccount& account) {
    beginTable(out, "Instances", {{"Name", Column::kText}, {"Class", Column::kText}, {"Why", Column::kText}});
    for (const CimOnly& only : account.cimOnly) {
        out.raw("<tr><th scope='row' class='wide'><span class='name'>").breakable(only.name);
        out.raw("</span></th><td data-label='Class'>")
            .text(only.instance->path.substr(0, only.instance->path.find('.')));
        out.raw("</td><td data-label='Why'><span>");
        for (const Reason& reason : only.reasons) {
            out.text(reason.text).raw(" <span class='tag'>").text(reason.rule).raw("</span>");
            if (&reason != &only.reasons.back()) out.raw("<br>");
        }
        out.raw("</span></td></tr>\n");
    }
    endTable(out);
}

}  // namespace diskmgt
