// Heading, what to know, a card per drive, and what is on no drive.
#include "formats/inventory_html.h"

#include "formats/drive_picture.h"
#include "formats/page_style.h"
#include "formats/page_tables.h"
#include "text/utc_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

class Writing {
public:
    explicit Writing(const Inventory& shown) : inventory(shown) {}

    std::string page() {
        head();
        heading();
        warnings();
        out.raw("<main>\n");
        key();
        for (std::size_t i = 0; i < inventory.drives.size(); ++i) drive(inventory.drives[i], i);
        if (inventory.drives.empty()) out.raw("<section class='card'><p>No drives are reported.</p></section>\n");
        loose();
        out.raw("</main>\n<footer>Written by diskmgt " DISKMGT_VERSION
                ". Sizes are in binary units; point at one for its bytes.</footer>\n</body>\n</html>\n");
        return out.page();
    }

private:
    void head() {
        out.raw(
            "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; "
            "base-uri 'none'; form-action 'none'\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "<meta name=\"color-scheme\" content=\"light dark\">\n"
            "<meta name=\"generator\" content=\"diskmgt " DISKMGT_VERSION "\">\n<title>Disks of ");
        out.text(inventory.hostName).raw("</title>\n<style>").raw(kPageStyle).raw("</style>\n</head>\n<body>\n");
    }

    void figure(const char* name, std::size_t count) {
        out.raw("<div><dt>").raw(name).raw("</dt><dd>").number(count).raw("</dd></div>");
    }

    void heading() {
        const std::string moment = utcText(inventory.collectedAt);
        out.raw("<header>\n<h1>Disks of ").text(inventory.hostName).raw("</h1>\n<p class='soft'>Collected ");
        out.raw("<time datetime='").raw(moment).raw("'>").raw(moment.substr(0, 10)).raw(", ");
        out.raw(moment.size() > 16 ? moment.substr(11, 5) : "").raw(" UTC</time></p>\n<dl class='figures'>");
        std::uint64_t capacity = 0;
        for (const Drive& drive : inventory.drives) capacity += drive.size;
        figure("Drives", inventory.drives.size());
        out.raw("<div><dt>Capacity</dt><dd>").size(capacity).raw("</dd></div>");
        figure("Partitions", inventory.partitions.size());
        figure("Mounted", inventory.logicalDisks.size());
        out.raw("</dl>\n</header>\n");
    }

    void warnings() {
        const Published& published = inventory.published;
        if (inventory.isComplete() && published.failures.empty() && inventory.doubtfulPairs.empty()) return;
        out.raw("<section class='card warn' aria-labelledby='warnings'><h2 id='warnings'>Worth knowing</h2>\n<ul>");
        if (!inventory.isComplete()) {
            out.raw("<li>This page is not complete: time ran out before these were served: ");
            out.text(joined(published.missingClasses, ", ")).raw(".</li>\n");
        }
        for (const ClassFailure& failure : published.failures)
            out.raw("<li>A failure was reported: ").text(failure.text).raw("</li>\n");
        for (const DoubtfulPair& pair : inventory.doubtfulPairs) {
            out.raw("<li>").raw(name(pair.device)).raw(" is paired with ").raw(name(pair.pairedWith));
            out.raw(" only because their names are alike");
            if (!pair.likely.empty()) out.raw("; it belongs to ").raw(name(pair.likely));
            out.raw(".</li>\n");
        }
        out.raw("</ul></section>\n");
    }

    static std::string name(const std::string& text) {
        return HtmlWriter().raw("<span class='name'>").text(text).raw("</span>").page();
    }

    void key() {
        if (inventory.partitions.empty()) return;
        out.raw("<ul class='key' aria-label='Key to the pictures'>");
        for (const PurposeStyle& purpose : kPurposes)
            out.raw("<li><span class='dot ").raw(purpose.cssClass).raw("'></span>").raw(purpose.words).raw("</li>");
        out.raw("<li><span class='dot gap'></span>No partition listed</li></ul>\n");
    }

    void drive(const Drive& drive, std::size_t number) {
        const std::string id = "drive-" + std::to_string(number + 1);
        out.raw("<section class='card' aria-labelledby='").raw(id).raw("'>\n<header><h2 id='").raw(id);
        out.raw("' class='name'>")
            .text(drive.device)
            .raw("</h2><p class='soft'>")
            .size(drive.size)
            .raw("</p></header>\n");
        const DriveMap map = mapOfDrive(inventory, drive);
        drawDrive(out, inventory, drive, map);
        notes(drive, map);
        partitionTable(out, inventory, ownPartitions(inventory, drive));
        fileSystemTable(out, inventory, ownLogicalDisks(inventory, drive));
        out.raw("</section>\n");
    }

    void note(const std::string& sentence) { out.raw("<p class='note'>").text(sentence).raw("</p>\n"); }

    void notes(const Drive& drive, const DriveMap& map) {
        const std::size_t listed = listedPartitions(inventory, drive);
        const std::size_t inKernel = drive.use.partitions.size();
        if (!drive.use.text.empty()) note("I" + drive.use.text.substr(1) + ".");  // "In use ..."
        if (drive.partitions.empty() && inKernel > 0)
            note("The kernel has " + counted(inKernel, "partition") + "; the plug-in publishes none.");
        else if (drive.partitions.empty())
            note("No partitions.");
        if (!map.isPlaced) note("Not every start is known: the picture shows the sizes, in the order reported.");
        for (const std::string& oddity : map.oddities) note(oddity);
        if (listed != drive.partitionCount && (listed > 0 || inKernel == 0))
            note("The drive is published with " + std::to_string(drive.partitionCount) + " partitions; " +
                 std::to_string(listed) + " are listed.");
    }

    void loose() {
        if (!inventory.loosePartitions.empty()) {
            out.raw(
                "<section class='card' aria-labelledby='loose-partitions'><h2 id='loose-partitions'>"
                "Partitions of drives that are not reported</h2>\n");
            partitionTable(out, inventory, inventory.loosePartitions);
            std::vector<std::size_t> disks;
            for (const std::size_t position : inventory.loosePartitions)
                for (const std::size_t disk : ownLogicalDisks(inventory, inventory.partitions[position]))
                    disks.push_back(disk);
            fileSystemTable(out, inventory, disks);
            out.raw("</section>\n");
        }
        if (inventory.looseLogicalDisks.empty()) return;
        std::vector<std::size_t> withSpace, without;
        for (const std::size_t position : inventory.looseLogicalDisks)
            (usedShareOf(inventory.logicalDisks[position]) ? withSpace : without).push_back(position);
        out.raw(
            "<section class='card' aria-labelledby='loose-file-systems'><h2 id='loose-file-systems'>"
            "Mounted, but on no drive</h2>\n");
        fileSystemTable(out, inventory, withSpace);
        if (!without.empty()) {
            out.raw("<details><summary>").number(without.size()).raw(" without space of their own</summary>\n");
            fileSystemTable(out, inventory, without);
            out.raw("</details>\n");
        }
        out.raw("</section>\n");
    }

    const Inventory& inventory;
    HtmlWriter out;
};

}  // namespace

std::string inventoryPage(const Inventory& inventory) { return Writing(inventory).page(); }

}  // namespace diskmgt
