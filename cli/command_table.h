// The commands: their names, operands, formats and help texts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/io/options.h"

namespace diskmgt {

/// The options that not every command has.
enum CommandFlags : unsigned {
    kNoFlags = 0,
    kHasExact = 1,
    kHasAll = 2,
    kHasBytes = 4,
    kHasSpace = 8,
    kHasColumns = 16,
    kTouchesNothing = 32,  // neither devices nor files nor a plug-in
    kHasCsvSafe = 64,
    kLoadsPlugin = 128,  // --plugin, --log-level and --virtual-device: they are for the host and what it loads
    kHasCompact = 256,
    kIsTree = 512,  // --cim, and columns of a tree
    kHasThorough = 1024,
    kJudgesPlugin = 2048,  // what the plug-in does to the process that runs it is part of the answer
    kTakesSchema = 4096    // --schema without a plug-in
};

struct CommandDescription {
    const char* name;
    CommandFunction run;
    const char* operand;  // what it is called in the help; null: takes none
    std::size_t fewestOperands;
    std::size_t mostOperands;
    unsigned flags;
    std::vector<std::string> formats;  // the first is the default; none: the command has no --format
    const char* summary;
    const char* details;  // the text below the options in its help
    DeliverFunction deliver = nullptr;
    const char* operandRule = nullptr;  // what the complaint about a wrong number of operands says, behind the name
};

const std::vector<CommandDescription>& commands();
/// Null when there is no such command.
const CommandDescription* findCommand(const std::string& name);

/// What is done without a command: `tree`, under no name.
const CommandDescription& defaultCommand();

}  // namespace diskmgt
