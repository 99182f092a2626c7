// Widths are left to the browser: every stretch grows with its size and keeps a few visible pixels.
#include "formats/drive_picture.h"

#include <algorithm>
#include <cstdio>

#include "text/size_text.h"

namespace diskmgt {

namespace {

constexpr double kBarPixels = 1000;  // about as wide as the page shows it
constexpr double kLetterPixels = 8;

std::string decimal(long double value, int digits) {
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.*Lf", digits, value);
    return text;
}

/// "sda1" of "/dev/sda1".
std::string shortName(const std::string& device) { return device.substr(device.rfind('/') + 1); }

/// The first file system on the partition, when it is known how full it is; else null.
const LogicalDisk* fileSystemOf(const Inventory& inventory, const Partition& partition) {
    const std::vector<std::size_t> disks = ownLogicalDisks(inventory, partition);
    if (disks.empty() || !usedShareOf(inventory.logicalDisks[disks.front()])) return nullptr;
    return &inventory.logicalDisks[disks.front()];
}

class Drawing {
public:
    Drawing(HtmlWriter& writer, const Inventory& all, const Drive& pictured, const DriveMap& map,
            std::uint64_t wholeSize)
        : out(writer), inventory(all), drive(pictured), drawn(map), whole(static_cast<double>(wholeSize)) {}

    void draw(const std::vector<Stretch>& stretches, std::uint64_t begin = 0) {
        for (const Stretch& stretch : stretches) {
            stretch.partition ? drawPartition(stretch, begin) : drawGap(stretch, begin);
            begin += stretch.size;
        }
    }

private:
    double share(const Stretch& stretch) const { return whole > 0 ? static_cast<double>(stretch.size) / whole : 0; }

    void begin(const char* cssClass, const Stretch& stretch) {
        out.raw("<div class='").raw(cssClass).raw("' style='flex-grow:").raw(decimal(share(stretch) * 1000, 4));
        out.raw("' title='");
    }

    void drawGap(const Stretch& stretch, std::uint64_t first) {
        constexpr double kVisible = 0.004;
        if (share(stretch) < kVisible) return;  // alignment
        begin("gap", stretch);
        const bool isNotRead = isKernelPartitionIn(first, stretch.size);
        const std::string words = isNotRead                   ? "Not read here"
                                  : drive.use.ofWhole.empty() ? "Not partitioned"
                                                              : "I" + drive.use.ofWhole.substr(1);  // "In use ..."
        out.text(words).raw(", ").raw(sizeText(stretch.size)).raw("'>");
        const double room = share(stretch) * kBarPixels - 20;
        const bool isWorthReading = isNotRead || !drive.use.ofWhole.empty();
        if (isWorthReading && static_cast<double>(words.size()) * kLetterPixels <= room)
            out.raw("<span>").text(words).raw("</span>");
        out.raw("</div>");
    }

    /// Whether the kernel has a partition where none is listed.
    bool isKernelPartitionIn(std::uint64_t first, std::uint64_t size) const {
        const std::vector<KernelPartition>& partitions = drive.use.partitions;
        const bool arePlaced = std::all_of(partitions.begin(), partitions.end(), [](const KernelPartition& partition) {
            return partition.start && partition.size;
        });
        if (!drawn.isPlaced || !arePlaced) return partitions.size() != listedPartitions(inventory, drive);
        return std::any_of(partitions.begin(), partitions.end(), [&](const KernelPartition& partition) {
            const std::uint64_t start = *partition.start;
            const bool beginsBeforeEnd = start < first || start - first < size;
            const bool endsBehindFirst = start >= first || *partition.size > first - start;
            return beginsBeforeEnd && endsBehindFirst;
        });
    }

    void drawPartition(const Stretch& stretch, std::uint64_t first) {
        const Partition& partition = inventory.partitions[*stretch.partition];
        begin(cssClassOf(partition), stretch);
        const LogicalDisk* const fileSystem = fileSystemOf(inventory, partition);
        out.text(partition.device).raw(", ").text(partition.typeName).raw(", ").raw(sizeText(partition.size));
        if (fileSystem != nullptr) out.raw(", ").raw(std::to_string(*fileSystem->space->usedPercent())).raw(" % used");
        out.raw("'>");
        if (stretch.inner.empty())
            drawLabel(partition, share(stretch));
        else
            draw(stretch.inner, first);
        if (fileSystem != nullptr && share(stretch) * kBarPixels > 40)
            out.raw("<i><b style='width:").raw(decimal(*usedShareOf(*fileSystem) * 100, 1)).raw("%'></b></i>");
        out.raw("</div>");
    }

    /// As much of it as there is room for.
    void drawLabel(const Partition& partition, double share) {
        const double room = share * kBarPixels - 20;
        const std::string name = shortName(partition.device);
        if (static_cast<double>(name.size()) * kLetterPixels > room) return;
        out.raw("<span>").text(name).raw("</span>");
        const std::string size = sizeText(partition.size);
        if (static_cast<double>(size.size()) * kLetterPixels <= room) out.raw("<small>").raw(size).raw("</small>");
    }

    HtmlWriter& out;
    const Inventory& inventory;
    const Drive& drive;
    const DriveMap& drawn;
    const double whole;
};

}  // namespace

const char* cssClassOf(const Partition& partition) {
    for (const PurposeStyle& style : kPurposes)
        if (style.purpose == partition.purpose) return style.cssClass;
    return "other";
}

std::optional<long double> usedShareOf(const LogicalDisk& disk) {
    return disk.ownSpace() == nullptr ? std::nullopt : disk.ownSpace()->usedShare();
}

void drawDrive(HtmlWriter& out, const Inventory& inventory, const Drive& drive, const DriveMap& map) {
    if (map.stretches.empty()) return;
    std::uint64_t whole = 0;  // more than the drive has when the sizes in its table do
    for (const Stretch& stretch : map.stretches) whole += stretch.size;
    out.raw("<div class='bar' role='img' aria-label='Picture of ").text(drive.device);
    out.raw("; the tables below say the same'>");
    if (ownPartitions(inventory, drive).empty() && drive.use.partitions.empty() && !drive.logicalDisks.empty())
        out.raw("<div class='data' style='flex-grow:1'><span>File system on the whole drive</span></div>");
    else
        Drawing(out, inventory, drive, map, whole).draw(map.stretches);
    out.raw("</div>\n");
}

}  // namespace diskmgt
