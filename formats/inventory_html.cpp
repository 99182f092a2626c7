#include "formats/inventory_html.h"

#include <algorithm>
#include <vector>

#include "formats/drive_picture.h"
#include "formats/page_style.h"
#include "formats/page_tables.h"
#include "formats/page_words.h"
#include "inventory/device_texts.h"
#include "text/utc_text.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using diskmgt_machine::Kind;

constexpr std::size_t kDisksWithoutContents = 9;

class PageWriter {
public:
    explicit PageWriter(const ServerAccount& shown) : account(shown), groups(deviceGroups(shown)) {
        for (const DeviceGroup& group : groups)
            (account.device(group.root).kind == Kind::kDisk ? disks : others).push_back(&group);
    }

    std::string page() {
        head();
        heading();
        gaps();
        contents();
        out.raw("<main>\n");
        keyToPictures();
        for (std::size_t i = 0; i < disks.size(); ++i) disk(*disks[i], i);
        if (disks.empty()) out.raw("<section class='card'><p>The kernel has no disks.</p></section>\n");
        otherDevices();
        offDevices();
        cimOnly();
        doubtfulPairs();
        out.raw("</main>\n<footer>");
        leftOut();
        out.raw("Written by diskmgt " DISKMGT_VERSION
                ". Sizes are in binary units; point at one for its bytes. \u201cNot seen in use\u201d is not proof: "
                "another "
                "mount namespace, a guest or a closed volume leaves no trace.</footer>\n</body>\n</html>\n");
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
        out.text(account.inventory().hostName).raw("</title>\n<style>").raw(kPageStyle);
        out.raw("</style>\n</head>\n<body>\n");
    }

    void beginFigure(const char* name) { out.raw("<div><dt>").raw(name).raw("</dt><dd>"); }
    void endFigure() { out.raw("</dd></div>"); }
    void figure(const char* name, std::size_t count) {
        beginFigure(name);
        out.number(count);
        endFigure();
    }

    void heading() {
        const std::string moment = utcText(account.inventory().collectedAt);
        out.raw("<header>\n<h1>Disks of ").text(account.inventory().hostName).raw("</h1>\n<p class='soft'>Collected ");
        out.raw("<time datetime='").raw(moment).raw("'>").raw(moment.substr(0, 10)).raw(", ");
        out.raw(moment.size() > 16 ? moment.substr(11, 5) : "").raw(" UTC</time></p>\n<dl class='figures'>");
        std::size_t partitions = 0;
        std::size_t mounted = 0;
        for (const DeviceAccount& device : account.devices) {
            if (device.partition) ++partitions;
            if (!device.mounts.empty()) ++mounted;
        }
        figure("Disks", disks.size());
        beginFigure("Capacity");
        out.size(capacityOf(account));
        endFigure();
        figure("Partitions", partitions);
        figure("File systems on devices", mounted);
        if (const Space space = spaceOnDevices(account); space.total > 0) {
            beginFigure("Used in them");
            out.size(space.used()).raw(" of ").size(space.total);
            endFigure();
        }
        out.raw("</dl>\n");
        if (hasSharedStorage()) out.raw("<p class='note'>What several paths lead to counts once.</p>\n");
        out.raw("</header>\n");
    }

    bool hasSharedStorage() const {
        const auto& devices = account.machine.blocks.devices;
        return std::any_of(devices.begin(), devices.end(),
                           [](const auto& device) { return device.kind == Kind::kMultipath && device.on.size() > 1; });
    }

    void gaps() {
        if (account.isComplete()) return;
        out.raw("<section class='card warn' aria-labelledby='gaps'><h2 id='gaps'>This page is not complete</h2>\n<ul>");
        for (const Gap& gap : account.gaps) {
            out.raw("<li><span class='name'>").breakable(gap.of).raw("</span>: ").text(gap.text);
            out.raw(" <span class='tag'>").text(gap.rule).raw("</span></li>\n");
        }
        out.raw("</ul></section>\n");
    }

    void name(const std::string& text) { out.raw("<span class='name'>").breakable(text).raw("</span>"); }

    void doubtfulPairs() {
        const std::vector<DoubtfulPair>& pairs = account.inventory().doubtfulPairs;
        if (pairs.empty()) return;
        out.raw("<section class='card warn' aria-labelledby='pairs'><h2 id='pairs'>Doubtful pairs in CIM</h2>\n");
        out.raw("<details><summary>").raw(counted(pairs.size(), "pair"));
        out.raw(pairs.size() == 1 ? " exists" : " exist").raw(" only because two names are alike</summary>\n<ul>");
        for (const DoubtfulPair& pair : pairs) {
            out.raw("<li>");
            name(pair.device);
            out.raw(" is paired with ");
            name(pair.pairedWith);
            out.raw(" only because their names are alike");
            if (!pair.likely.empty()) {
                out.raw("; it belongs to ");
                name(pair.likely);
            }
            out.raw(".</li>\n");
        }
        out.raw("</ul></details></section>\n");
    }

    static std::string idOf(std::size_t number) { return "disk-" + std::to_string(number + 1); }

    void contents() {
        if (disks.size() <= kDisksWithoutContents) return;
        out.raw("<nav class='contents' aria-labelledby='contents'><h2 id='contents'>Contents</h2>\n<ul>");
        for (std::size_t i = 0; i < disks.size(); ++i) {
            const auto& device = account.device(disks[i]->root);
            out.raw("<li><a href='#").raw(idOf(i)).raw("'><span class='name'>").text(device.path());
            out.raw("</span></a> <span class='soft'>");
            if (device.sizeBytes) out.size(*device.sizeBytes);
            out.raw("</span></li>\n");
        }
        if (!others.empty()) out.raw("<li><a href='#other-devices'>Other devices</a></li>\n");
        if (!account.cimOnly.empty()) out.raw("<li><a href='#cim-only'>Only in CIM</a></li>\n");
        if (!account.inventory().doubtfulPairs.empty())
            out.raw("<li><a href='#pairs'>Doubtful pairs in CIM</a></li>\n");
        out.raw("</ul></nav>\n");
    }

    void keyToPictures() {
        if (disks.empty()) return;
        out.raw("<ul class='key' aria-label='Key to the pictures'>");
        for (const PurposeStyle& purpose : kPurposes)
            out.raw("<li><span class='dot ").raw(purpose.cssClass).raw("'></span>").raw(purpose.words).raw("</li>");
        out.raw("<li><span class='dot gap'></span>Outside the partitions</li></ul>\n");
    }

    void disk(const DeviceGroup& group, std::size_t number) {
        const auto& device = account.device(group.root);
        const std::string id = idOf(number);
        out.raw("<section class='card' aria-labelledby='").raw(id).raw("'>\n<header><h2 id='").raw(id);
        out.raw("'><span class='name'>").text(device.path()).raw("</span>");
        const std::string identity = identityWords(account, group.root);
        out.raw(" <span class='identity'>").text(identity.empty() ? "identity not known" : identity);
        out.raw("</span></h2><p class='soft'>");
        if (device.sizeBytes) out.size(*device.sizeBytes);
        if (!device.transport.empty()) out.raw(", ").text(device.transport);
        if (device.isRotational) out.raw(*device.isRotational ? ", rotating" : ", not rotating");
        out.raw("</p></header>\n");
        const DriveMap map = mapOfDrive(account, group.root);
        drawDrive(out, account, group, map);
        if (!map.isPlaced) note("Not every start is known: the picture shows the sizes, in the order of the kernel.");
        for (const std::string& oddity : map.oddities) note(oddity);
        deviceTable(out, account, {&group});
        fileSystemTable(out, account, fileSystemsOn({&group}));
        out.raw("</section>\n");
    }

    void note(const std::string& sentence) { out.raw("<p class='note'>").text(sentence).raw("</p>\n"); }

    std::vector<MountsOfOne> fileSystemsOn(const std::vector<const DeviceGroup*>& shown) const {
        std::vector<MountsOfOne> found;
        for (const DeviceGroup* const group : shown)
            for (const DeviceRow& row : group->rows)
                if (!row.shownBeneath && !account.devices[row.device].mounts.empty())
                    found.push_back(account.devices[row.device].mounts);
        return found;
    }

    void otherDevices() {
        if (others.empty()) return;
        out.raw("<section class='card' aria-labelledby='other-devices'><h2 id='other-devices'>Other devices</h2>\n");
        deviceTable(out, account, others);
        fileSystemTable(out, account, fileSystemsOn(others));
        out.raw("</section>\n");
    }

    void offDevices() {
        std::vector<MountsOfOne> shown, inMemory;
        for (const FileSystemAccount& fileSystem : account.fileSystems) {
            if (fileSystem.group == FileSystemGroup::kPseudo) continue;
            (fileSystem.group == FileSystemGroup::kMemory ? inMemory : shown).push_back(fileSystem.mounts);
        }
        const std::size_t pseudo = account.countOf(FileSystemGroup::kPseudo);
        if (shown.empty() && inMemory.empty() && pseudo == 0) return;
        out.raw(
            "<section class='card' aria-labelledby='off-devices'><h2 id='off-devices'>Mounted, but on no device "
            "above</h2>\n");
        fileSystemTable(out, account, shown);
        if (!inMemory.empty()) {
            out.raw("<details><summary>").number(inMemory.size()).raw(" in memory</summary>\n");
            fileSystemTable(out, account, inMemory);
            out.raw("</details>\n");
        }
        if (pseudo > 0) note(counted(pseudo, "mount") + " of pseudo file systems, such as proc, not listed.");
        out.raw("</section>\n");
    }

    void cimOnly() {
        if (account.cimOnly.empty()) return;
        out.raw("<section class='card' aria-labelledby='cim-only'><h2 id='cim-only'>Only in CIM</h2>\n");
        note("CIM reports these, and the kernel has no such thing.");
        cimOnlyTable(out, account);
        out.raw("</section>\n");
    }

    void leftOut() {
        std::size_t count = 0;
        for (std::size_t i = 0; i < account.devices.size(); ++i)
            if (isLeftOut(account, i)) ++count;
        if (count > 0)
            out.raw("Left out: ")
                .raw(counted(count, "device"))
                .raw(" (loops without a file, RAM disks, hidden paths). ");
    }

    const ServerAccount& account;
    const std::vector<DeviceGroup> groups;
    std::vector<const DeviceGroup*> disks, others;
    HtmlWriter out;
};

}  // namespace

std::string inventoryPage(const ServerAccount& account) { return PageWriter(account).page(); }

}  // namespace diskmgt
