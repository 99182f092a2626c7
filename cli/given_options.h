// What the options of a command line say, as texts, and what they make of a command.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/command_table.h"

namespace diskmgt {

/// The texts of the options, where given.
struct GivenTexts {
    std::optional<std::string> format, pluginFile, logLevel, timeout, outputFile, color, columns;
    std::vector<std::string> virtualDevices, schemaFiles, operands;
    std::vector<std::string> plainOperands;  // what follows "--", which may begin with a dash
    bool exact = false, all = false, bytes = false, space = false, csvSafe = false, compact = false, cim = false,
         thorough = false, json = false;
};

/// "; see \"diskmgt get --help\"".
std::string seeHelp(const std::string& commandName);
[[noreturn]] void wrongUsage(const std::string& sentence);

/// --json stands for --format json; for `export` both name the form, which is its operand else. Throws `CommandError`.
void settleFormat(GivenTexts& given, const CommandDescription& command);

/// The options of the command, complete. Reads DISKMGT_PLUGIN. Throws `CommandError` for what the command does not have
/// or cannot take.
Options checkedOptions(const GivenTexts& given, const CommandDescription& command);

}  // namespace diskmgt
