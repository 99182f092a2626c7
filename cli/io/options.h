// What was asked for on the command line, checked and complete.
#pragma once

#include <string>
#include <vector>

#include "text/command_error.h"
#include "worker/early_end.h"

namespace diskmgt {

enum class Format { kJson, kTable, kCsv, kMof };
enum class ColorChoice { kAuto, kAlways, kNever };

struct Options;
/// Does what a command is for: see commands.h.
using CommandFunction = ExitStatus (*)(const Options& options);
/// Writes what a process that ran `run` made known, whether it came to its end or not.
using DeliverFunction = ExitStatus (*)(const Options& options, const std::string& known, const worker::EarlyEnd& end);

struct Options {
    CommandFunction run = nullptr;
    DeliverFunction deliver = nullptr;  // null: `run` delivers; else `run` collects CIM's account and writes nothing
    bool isForPeople = false;           // columns are laid out by the width of texts
    bool mayStall = true;               // the work may never come back
    std::vector<std::string> operands;  // class names or files, in the order given
    bool judgesPlugin = false;         // how the plug-in ends `run` is part of what is delivered, and said nowhere else
    bool thorough = false;             // check: each crossing fails once
    bool exact = false;                // no earlier request for the classes an association relies on
    bool all = false;                  // tree, export json: nothing is folded or left out
    bool cim = false;                  // tree: what is published alone, by the published pairs
    bool compact = false;              // export json: without the plain instances
    bool bytes = false;                // tree: sizes in bytes
    bool space = false;                // diff: free space too
    std::vector<std::string> columns;  // get, tree: only these, in this order; empty: all that are usual
    bool csvSafe = false;              // get: no field that a spreadsheet takes for a formula
    Format format = Format::kJson;
    std::string pluginFile;      // empty: the one that belongs to this command
    int logSeverity = -1;        // forward the host's log from this severity on; negative: not at all
    double timeoutSeconds = 30;  // 0: none
    std::string outputFile;      // empty: standard output
    ColorChoice color = ColorChoice::kAuto;
    std::vector<std::string> virtualDevices;
    std::vector<std::string> schemaFiles;  // further classes for the host, as MOF
    std::string text;                      // help or version, when that was asked for instead
};

}  // namespace diskmgt
