// Widths are left to the browser: every stretch grows with its size and keeps a few visible pixels.
#include "formats/drive_picture.h"

#include <algorithm>
#include <cstdio>

#include "formats/page_words.h"
#include "inventory/device_texts.h"
#include "text/size_text.h"

namespace diskmgt {

namespace {

constexpr double kBarPixels = 1000;       // about as wide as the page shows it
constexpr double kNarrowBarPixels = 300;  // on a narrow page
constexpr double kLetterPixels = 8;
constexpr std::size_t kMostLayers = 8;  // of volumes; the table has them all

std::string decimal(double value, int digits) {
    char text[64];
    (void)std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

class Drawing {
public:
    Drawing(HtmlWriter& writer, const ServerAccount& shown, const DeviceGroup& pictured)
        : out(writer), account(shown), group(pictured) {}

    void draw(const DriveMap& map) {
        std::uint64_t whole = 0;  // more than the disk has when the sizes in its table do
        for (const Stretch& stretch : map.stretches) whole += stretch.size;
        const bool hasPartitions = std::any_of(map.stretches.begin(), map.stretches.end(),
                                               [](const Stretch& stretch) { return stretch.device.has_value(); });
        out.raw("<div class='bar'>");
        if (hasPartitions)
            drawStretches(map.stretches, static_cast<double>(whole), 1);
        else
            drawDevice(group.root, 1, 1, {});
        out.raw("</div>\n");
        drawLayer(childrenOf(0), static_cast<double>(whole), 1, 0);
    }

private:
    void begin(double share, const std::string& title) {
        out.raw("<div class='column' style='flex-grow:").raw(decimal(share * 1000, 4)).raw("' title='");
        out.text(title).raw("'>");
    }

    /// `share`: part of the whole picture that `size` bytes take.
    void drawStretches(const std::vector<Stretch>& stretches, double size, double share) {
        for (const Stretch& stretch : stretches) {
            const double part = size > 0 ? share * static_cast<double>(stretch.size) / size : 0;
            if (stretch.device)
                drawDevice(*stretch.device, part, 1, stretch.inner);
            else
                drawGap(part, stretch.size);
        }
    }

    void drawGap(double share, std::uint64_t size) {
        constexpr double kVisible = 0.004;
        if (share < kVisible) return;  // alignment
        begin(share, "Outside the partitions, " + sizeText(size));
        out.raw("<div class='box gap'></div></div>");
    }

    /// With the volumes on it, unless it is the disk itself, whose volumes lie beneath the whole bar.
    void drawDevice(std::size_t device, double share, std::size_t layer, const std::vector<Stretch>& inner) {
        begin(share, titleOf(device));
        if (inner.empty()) {
            out.raw("<div class='box ").raw(cssClassOf(devicePurpose(account, device))).raw("'>");
            drawLabel(device, share);
            out.raw("</div>");
        } else {
            double size = 0;
            for (const Stretch& stretch : inner) size += static_cast<double>(stretch.size);
            out.raw("<div class='box container'>");
            drawStretches(inner, size, share);
            out.raw("</div>");
        }
        const std::size_t row = rowOf(device);
        if (device != group.root)
            drawLayer(childrenOf(row), static_cast<double>(account.device(device).sizeBytes.value_or(0)), share, layer);
        out.raw("</div>");
    }

    void drawLayer(const std::vector<std::size_t>& rows, double size, double share, std::size_t layer) {
        if (rows.empty() || layer >= kMostLayers) return;
        double sum = 0;
        for (const std::size_t row : rows) sum += sizeOf(row);
        const double whole = std::max(sum, size);
        out.raw("<div class='layer'>");
        for (const std::size_t row : rows) {
            const double part = whole > 0 ? share * sizeOf(row) / whole : 0;
            const DeviceRow& shown = group.rows[row];
            if (shown.shownBeneath)
                drawReference(shown, part);
            else
                drawDevice(shown.device, part, layer + 1, {});
        }
        const double rest = whole > 0 ? share * (whole - sum) / whole : 0;
        if (rest > 0) out.raw("<div class='rest' style='flex-grow:").raw(decimal(rest * 1000, 4)).raw("'></div>");
        out.raw("</div>");
    }

    void drawReference(const DeviceRow& row, double share) {
        const std::string name = account.device(row.device).name;
        begin(share, name + ", shown beneath " + account.device(*row.shownBeneath).path());
        out.raw("<div class='box reference'>");
        if (fits(name, share)) writeLabel("span", name, share);
        out.raw("</div></div>");
    }

    std::string titleOf(std::size_t device) const {
        const auto& shown = account.device(device);
        std::string title = shown.path() + ", " + kindWords(account, device);
        if (shown.sizeBytes && !isExtended(account, device)) title += ", " + sizeText(*shown.sizeBytes);
        title += ". " + useWords(account, device) + "; " + contentWords(account, device);
        if (const auto space = spaceOf(device))
            if (const auto percent = space->usedPercent()) title += "; " + std::to_string(*percent) + " % used";
        return title;
    }

    std::optional<Space> spaceOf(std::size_t device) const {
        const std::vector<std::size_t>& mounts = account.devices[device].mounts;
        return mounts.empty() ? std::nullopt : account.mounts[mainMountOf(account, mounts)].space;
    }

    static bool fits(const std::string& text, double share, double bar = kBarPixels) {
        return static_cast<double>(text.size()) * kLetterPixels <= share * bar - 20;
    }

    /// A narrow page shows the label only where it fits there too.
    void writeLabel(const char* element, const std::string& text, double share) {
        out.raw("<").raw(element).raw(fits(text, share, kNarrowBarPixels) ? " class='short'>" : ">");
        out.text(text).raw("</").raw(element).raw(">");
    }

    /// As much of it as there is room for.
    void drawLabel(std::size_t device, double share) {
        const auto& shown = account.device(device);
        const std::string name = device == group.root ? useWords(account, device) + "; " + contentWords(account, device)
                                 : shown.volume.empty() ? shown.name
                                                        : shown.volume;
        if (fits(name, share)) {
            writeLabel("span", name, share);
            const std::string size = shown.sizeBytes ? sizeText(*shown.sizeBytes) : "";
            if (account.devices[device].partition && fits(size, share)) writeLabel("small", size, share);
        }
        const auto space = spaceOf(device);
        if (space && space->usedShare() && share * kBarPixels > 40)
            out.raw("<i><b style='width:")
                .raw(decimal(static_cast<double>(*space->usedShare()) * 100, 1))
                .raw("%'></b></i>");
    }

    // --- the rows of the group ---

    double sizeOf(std::size_t row) const {
        return static_cast<double>(account.device(group.rows[row].device).sizeBytes.value_or(0));
    }

    std::size_t rowOf(std::size_t device) const {
        std::size_t row = 0;
        while (row < group.rows.size() && (group.rows[row].device != device || group.rows[row].shownBeneath)) ++row;
        return row;
    }

    /// Those directly on that of the row; not the partitions of the disk, which make up the bar.
    std::vector<std::size_t> childrenOf(std::size_t row) const {
        std::vector<std::size_t> found;
        for (std::size_t i = row + 1; i < group.rows.size() && group.rows[i].depth > group.rows[row].depth; ++i) {
            if (group.rows[i].depth != group.rows[row].depth + 1) continue;
            const auto& device = account.device(group.rows[i].device);
            if (row == 0 && device.disk == group.root && account.devices[group.rows[i].device].partition) continue;
            found.push_back(i);
        }
        return found;
    }

    HtmlWriter& out;
    const ServerAccount& account;
    const DeviceGroup& group;
};

}  // namespace

const char* cssClassOf(Purpose purpose) {
    for (const PurposeStyle& style : kPurposes)
        if (style.purpose == purpose) return style.cssClass;
    return "other";
}

void drawDrive(HtmlWriter& out, const ServerAccount& account, const DeviceGroup& group, const DriveMap& map) {
    if (map.stretches.empty()) return;
    out.raw("<div class='picture' role='img' aria-label='Picture of ").text(account.device(group.root).path());
    out.raw("; the table below says the same'>");
    Drawing(out, account, group).draw(map);
    out.raw("</div>\n");
}

}  // namespace diskmgt
