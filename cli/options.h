// What was asked for on the command line, checked and complete.
#pragma once

#include <string>
#include <vector>

namespace diskmgt_cli {

enum class Command { kShowText, kGet, kProbe, kExplain, kClasses, kPlugin, kTrace, kTree, kExport, kDiff };
enum class Format { kJson, kTable, kCsv, kMof };
enum class ColorChoice { kAuto, kAlways, kNever };

struct Options {
    Command command = Command::kGet;
    std::vector<std::string> operands;  // class names or files, in the order given
    bool exact = false;                 // no earlier request for the classes an association relies on
    bool all = false;                   // tree: what is on no drive too
    bool bytes = false;                 // tree: sizes in bytes
    bool space = false;                 // diff: free space too
    std::vector<std::string> columns;   // get: only these properties, in this order; empty: all
    Format format = Format::kJson;
    std::string pluginFile;      // empty: the one that belongs to this command
    int logSeverity = -1;        // forward the host's log from this severity on; negative: not at all
    double timeoutSeconds = 30;  // 0: none
    std::string outputFile;      // empty: standard output
    ColorChoice color = ColorChoice::kAuto;
    std::vector<std::string> virtualDevices;
    std::string text;  // for kShowText: help or version
};

/// Reads the command line and DISKMGT_PLUGIN. Throws `CommandError` for wrong usage.
Options readOptions(int argumentCount, const char* const* arguments);

}  // namespace diskmgt_cli
