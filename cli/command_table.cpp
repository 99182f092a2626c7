#include "cli/command_table.h"

#include <limits>

#include "cli/commands/commands.h"

namespace diskmgt {

namespace {

constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();
constexpr unsigned kTreeFlags = kHasAll | kHasBytes | kHasColumns | kLoadsPlugin | kIsTree;

}  // namespace

const std::vector<CommandDescription>& commands() {
    static const std::vector<CommandDescription> all = {
        {"tree",
         &runTreeCollection,
         "DEVICE",
         0,
         kAnyNumber,
         kTreeFlags,
         {"table", "json"},
         "The disks, what lies on them, and what CIM reports of each",
         "DEVICE is a device, a mount or any path: a device is shown with all that lies\n"
         "on it, a path with the disks that carry it. Without \"tree\" a DEVICE that is\n"
         "no command's name will do: \"diskmgt sda\".\n\n"
         "CIM: what the plug-in publishes. \"yes\"; \"as NAME\": under this name; \"no\" and\n"
         "why; \"?\": unknown and why. Behind \"yes:\" is what it has otherwise. \"explain\"\n"
         "says more. Free counts what is kept for root, Avail is what users may still\n"
         "write. What is \"not seen in use\" may still be in use in a way that leaves no\n"
         "trace here. On a terminal the columns are made to fit.\n\n"
         "Columns: name, size, start, type, used, use, free, avail, cim, remark, model,\n"
         "serial, wwid, transport, rotational, content, label, uuid, partuuid.\n\n"
         "Past the time limit the disks are still shown, and what CIM reports as far as\n"
         "it is known; the exit status is 4.\n\n"
         "Examples:\n"
         "  diskmgt\n"
         "  diskmgt sda\n"
         "  diskmgt tree /var/lib\n"
         "  diskmgt tree --columns +model,serial\n"
         "  diskmgt tree --format json\n",
         &deliverTree},
        {"get",
         &runGet,
         "CLASS",
         0,
         kAnyNumber,
         kHasExact | kHasColumns | kHasCsvSafe | kLoadsPlugin,
         {"json", "table", "csv", "mof"},
         "Instances of the named classes, one request, in the order given",
         "An association class first makes the host publish the classes it relies on, in\n"
         "an earlier request that is not shown; an association that is named before one\n"
         "of them is served after it. --exact requests just the named classes in just\n"
         "that order. A class named twice is served twice, and each mention shows\n"
         "everything published. Without a CLASS all 17 that the plug-in serves are\n"
         "requested. A class that it does not serve gives the instances of the classes\n"
         "beneath it; with --exact it gives none.\n\n"
         "csv: RFC 4180, UTF-8, one header row per class, a blank line between classes;\n"
         "the elements of an array are joined by \",\"; null is an empty field, an empty\n"
         "text is \"\". A spreadsheet may take a text for a formula: --csv-safe.\n"
         "mof: one \"instance of\" each for a CIM compiler; \"classes --format mof\" gives\n"
         "the classes.\n\n"
         "Examples:\n"
         "  diskmgt get VEXSG_DiskDrive\n"
         "  diskmgt get VEXSG_DiskPartition --format table\n"
         "  diskmgt get VEXSG_DiskDrive --format csv --columns DeviceID,Size\n"
         "  diskmgt get MY_Volume --plugin ./my.pi.so --schema my.mof\n"
         "  diskmgt get VEXSG_DiskDrive VEXSG_DiskPartition VEXSG_PartitionPresent --output disks.json\n"},
        {"probe",
         &runProbe,
         "FILE",
         1,
         kAnyNumber,
         kNoFlags,
         {"json"},
         "The partitions found in devices or disk images",
         "Prints every pair of every partition exactly as the partition table parser\n"
         "returns it, also for disk images. The time limit counts for each file.\n\n"
         "Examples:\n"
         "  diskmgt probe /dev/sda\n"
         "  diskmgt probe disk.img backup.img\n"},
        {"explain",
         &runExplainCollection,
         "DEVICE",
         0,
         kAnyNumber,
         kLoadsPlugin,
         {"table", "json"},
         "Why something is or is not reported, and what uses each device",
         "DEVICE is a disk, a partition, a volume, a link to one, the plug-in's name of\n"
         "one, a mount source, a mount point, or any path: then the disks are named that\n"
         "it lies on. Without it the whole machine is explained.\n\n"
         "Exit status 2 when a DEVICE exists nowhere. Missing rights alone end with 0:\n"
         "each row says what is not known.\n\n"
         "Examples:\n"
         "  diskmgt explain\n"
         "  diskmgt explain sdb /dev/disk/by-id/usb-Stick /boot\n"
         "  diskmgt explain /etc\n"
         "  diskmgt explain --format json\n",
         &deliverExplanation},
        {"diff",
         &runDiff,
         "OLD NEW",
         2,
         2,
         kHasSpace,
         {"table", "json"},
         "What changed between two documents of \"export json\"",
         "Drives, volumes, partitions and file systems that were added, removed, renamed\n"
         "or changed, with sizes in bytes; \"-\" reads standard input. A drive is known by\n"
         "its wwid or serial number and a partition by its UUID, not by its name of today.\n"
         "No change: a table prints nothing. Without --space these do not count: free and\n"
         "available space, used swap, and the total of a pool.\n\n"
         "Exit status: 0 nothing changed; 1 something did; 2 wrong usage, a document that\n"
         "cannot be compared, or output that cannot be written; 4 timed out.\n"
         "What an incomplete document lacks counts as unknown, not as removed; a line on\n"
         "standard error says so.\n\n"
         "Examples:\n"
         "  diskmgt export json --output monday.json\n"
         "  diskmgt diff monday.json tuesday.json\n"
         "  diskmgt export json | diskmgt diff monday.json - --format json\n",
         nullptr,
         "compares two documents, OLD and NEW"},
        {"export",
         &runExportCollection,
         "FORMAT",
         1,
         1,
         kHasAll | kHasCompact | kLoadsPlugin,
         {},
         "The whole inventory for programs: json, prometheus, mof or html",
         "json: block devices, what lies on them and what is mounted, as the kernel has\n"
         "them, and beside each what CIM reports. --compact leaves the plain instances\n"
         "out, --all lists pseudo file systems too. The document is fit to be an Ansible\n"
         "local fact and a facter external fact.\n\n"
         "prometheus: sizes, space and whether the collection succeeded, as gauges for\n"
         "the textfile collector of the node exporter. Space that cannot be measured has\n"
         "no sample.\n\n"
         "mof: the schema and every instance, the hosting system's too, for the compiler\n"
         "of a CIM broker. Of instances with equal keys the first is kept, and standard\n"
         "error says so.\n\n"
         "html: one page for a browser or for paper, drives drawn to scale with tables\n"
         "beneath. It needs no network and no scripts.\n\n"
         "Past the time limit what the classes served so far give is still written; the\n"
         "exit status is 4. An account that is not complete is written too, and the exit\n"
         "status is 1.\n\n"
         "Examples:\n"
         "  diskmgt export json\n"
         "  diskmgt export json --output /etc/ansible/facts.d/disks.fact\n"
         "  diskmgt export prometheus --output /var/lib/prometheus/node-exporter/diskmgt.prom\n"
         "  diskmgt export html --output disks.html\n",
         &deliverExport,
         "takes one format: json, prometheus, mof or html"},
        {"serve",
         &runServe,
         nullptr,
         0,
         0,
         kTouchesNothing,
         {},
         "The same over HTTP: CIM operations, metrics, document, page",
         ""},
        {"check",
         &runCheck,
         nullptr,
         0,
         0,
         kHasThorough | kLoadsPlugin | kJudgesPlugin,
         {"table", "json"},
         "One verdict on a plug-in: loads, serves, types, keys, pairs",
         "For those who write a plug-in or a host. The plug-in runs in a process of its\n"
         "own, which it may crash, hang or end. It is loaded, asked for every class twice\n"
         "and from two threads at once, and unloaded. Each class is shown with its\n"
         "instances, log lines, calls to the host (crossings) and time.\n\n"
         "A remark is not the plug-in's doing, such as two partitions with one name on a\n"
         "disk with two extended partitions. --thorough makes each crossing fail once;\n"
         "the next request must be served as before. The time limit counts for each\n"
         "request.\n\n"
         "Exit status: 0 good, with or without remarks; 1 failed a check; 2 wrong usage;\n"
         "3 not usable: it cannot be loaded, crashes or ends the process; 4 timed out.\n\n"
         "Examples:\n"
         "  diskmgt check\n"
         "  diskmgt check --plugin ./my.pi.so --thorough\n"
         "  diskmgt check --plugin ./my.pi.so --format json\n",
         &deliverCheck},
        {"classes",
         &runClasses,
         "CLASS",
         0,
         1,
         kTouchesNothing | kTakesSchema,
         {"table", "json", "mof"},
         "The schema: the class tree, or one class with its properties",
         "mof prints the whole schema, the public base classes first. In a table, Key\n"
         "marks the properties that identify an instance, and [] an array.\n\n"
         "Examples:\n"
         "  diskmgt classes\n"
         "  diskmgt classes VEXSG_DiskPartition\n"
         "  diskmgt classes MY_Volume --schema my.mof\n"
         "  diskmgt classes --format mof --output schema.mof\n"},
        {"trace",
         &runTrace,
         "CLASS",
         1,
         kAnyNumber,
         kHasExact | kLoadsPlugin,
         {"json"},
         "Every crossing of the plug-in boundary, one JSON object a line",
         "Covers loading the plug-in, the request and unloading. The earlier request for\n"
         "the classes an association relies on is not shown; --exact leaves it out.\n\n"
         "Examples:\n"
         "  diskmgt trace VEXSG_DiskDrive\n"
         "  diskmgt trace VEXSG_LogicalDisk | head\n"},
        {"plugin",
         &runPlugin,
         nullptr,
         0,
         0,
         kLoadsPlugin,
         {"table", "json"},
         "Name, version, interface version, type and file of the plug-in",
         "Examples:\n"
         "  diskmgt plugin\n"
         "  diskmgt plugin --plugin ./libdiskmgt.pi.so --format json\n"},
    };
    return all;
}

const CommandDescription* findCommand(const std::string& name) {
    for (const CommandDescription& command : commands())
        if (name == command.name) return &command;
    return nullptr;
}

const CommandDescription& defaultCommand() {
    static const CommandDescription tree = {"",         &runTreeCollection, nullptr, 0,  0,
                                            kTreeFlags, {"table", "json"},  "",      "", &deliverTree};
    return tree;
}

}  // namespace diskmgt
