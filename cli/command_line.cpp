// Reads the command line. The library that helps with it is heavy, so it is kept to this file, and only the options
// of the one command in use are set up.
#include "cli/command_line.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "cli/command_table.h"
#include "cli/commands/commands.h"
#include "cli/given_options.h"
#include "session/log_lines.h"
#include "text/command_error.h"
#include "text/suggestions.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

std::string generalHelp() {
    std::string help = "Commands:\n";
    for (const CommandDescription& command : commands()) {
        std::string name = command.name;
        name.resize(10, ' ');
        help += "  " + name + command.summary + "\n";
    }
    return help +
           "\nWithout a command: tree.\n"
           "\"diskmgt COMMAND --help\" describes a command.\n\n"
           "Exit status: 0 done; 1 done, but a failure was reported, an export is not\n"
           "complete, or the output could not be written; 2 wrong usage; 3 plug-in not\n"
           "usable; 4 timed out.\n\n"
           "Examples:\n"
           "  diskmgt\n"
           "  diskmgt get VEXSG_DiskDrive VEXSG_DiskPartition\n"
           "  diskmgt probe disk.img\n";
}

/// "CLASS...", "[CLASS]" or "OLD NEW", with a blank before; empty for a command without operands.
std::string operandUsage(const CommandDescription& command) {
    if (command.operand == nullptr) return {};
    const std::string words = std::string(command.operand) + (command.mostOperands > 2 ? "..." : "");
    return command.fewestOperands == 0 ? " [" + words + "]" : " " + words;
}

/// What is said behind the command's name when it has too few or too many operands.
std::string operandRule(const CommandDescription& command) {
    if (command.operandRule != nullptr) return command.operandRule;
    return (command.fewestOperands == 0 ? "takes one " : "needs at least one ") + std::string(command.operand);
}

/// The library's help, but for what it says of operands: to it, every command takes any number of them.
class HelpFormatter : public CLI::Formatter {
public:
    explicit HelpFormatter(const CommandDescription& described) : command(described) {}
    std::string make_usage(const CLI::App*, std::string) const override {
        const std::string name = command.name;
        return "Usage: diskmgt " + (name.empty() ? "[COMMAND]" : name) + " [OPTIONS]" + operandUsage(command) + "\n";
    }
    std::string make_positionals(const CLI::App*) const override { return {}; }
    std::string make_footer(const CLI::App* app) const override { return app->get_footer(); }

private:
    const CommandDescription& command;
};

/// Of an option that is given more than once the last counts.
void addOption(CLI::App& app, const char* name, std::optional<std::string>& text, const std::string& help,
               const char* placeholder) {
    app.add_option(name, text, help)->type_name(placeholder)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

/// An option each of whose values counts.
void addRepeatable(CLI::App& app, const char* name, std::vector<std::string>& texts, const char* help,
                   const char* placeholder) {
    app.add_option_function<std::vector<std::string>>(
           name,
           [&texts](const std::vector<std::string>& given) { texts.insert(texts.end(), given.begin(), given.end()); },
           help)
        ->type_name(placeholder)
        ->allow_extra_args(false);
}

void addPluginOptions(CLI::App& app, GivenTexts& given) {
    addOption(app, "--plugin", given.pluginFile,
              "The plug-in to load (default: $DISKMGT_PLUGIN,\nelse the one installed with it)", "FILE");
    addOption(app, "--log-level", given.logLevel,
              "Show the host's log on standard error:\n" + joined(severityNames(), ", ") + "\nor none (default)",
              "LEVEL");
    addRepeatable(app, "--virtual-device", given.virtualDevices,
                  "A further text naming a disk that the management\ncontroller presents; repeatable", "TEXT");
}

void addOptions(CLI::App& app, const CommandDescription& command, GivenTexts& given) {
    const auto add = [&app](const char* name, std::optional<std::string>& text, const std::string& help,
                            const char* placeholder) { addOption(app, name, text, help, placeholder); };
    if (command.operand != nullptr) app.add_option(command.operand, given.operands)->type_name("");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("-V,--version", "diskmgt " DISKMGT_VERSION "\n", "Print the version and exit");
    const auto flag = [&app, &command](unsigned which, const char* name, bool& isGiven, const char* help) {
        if ((command.flags & which) != 0) app.add_flag(name, isGiven, help);
    };
    flag(kHasExact, "--exact", given.exact, "No earlier request for the classes an association\nrelies on");
    flag(kHasThorough, "--thorough", given.thorough, "Make each call of the plug-in to its host fail once");
    flag(kHasAll, "--all", given.all,
         (command.flags & kHasCompact) != 0
             ? "For json: list pseudo file systems too"
             : "Everything, nothing folded: each mount point,\npseudo file systems, RAM disks, hidden paths");
    flag(kHasCompact, "--compact", given.compact, "For json: without the plain instances");
    flag(kIsTree, "--cim", given.cim, "Only what CIM has, nested by its associations");
    flag(kHasBytes, "--bytes", given.bytes, "Sizes in bytes");
    flag(kHasSpace, "--space", given.space, "Free space counts as a change too");
    flag(kHasCsvSafe, "--csv-safe", given.csvSafe, "For csv: no field that a spreadsheet takes for a\nformula");
    if ((command.flags & kHasColumns) != 0)
        add("--columns", given.columns,
            (command.flags & kIsTree) != 0
                ? "Only these columns, in this order, separated by\ncommas; +NAMES: these too"
                : "Only these properties, in this order, separated\nby commas",
            "NAMES");
    if (command.name[0] == '\0' || (command.flags & kHasCompact) != 0)
        add("--format", given.format,
            command.name[0] == '\0' ? "For the command that follows" : "The same as FORMAT behind the command",
            "FORMAT");
    else if (!command.formats.empty())
        add("--format", given.format, joined(command.formats, ", ") + " (default: " + command.formats.front() + ")",
            "FORMAT");
    if (command.name[0] == '\0' || contains(command.formats, "json") || (command.flags & kHasCompact) != 0)
        app.add_flag("-J,--json", given.json, "The same as --format json");
    if ((command.flags & kLoadsPlugin) != 0) addPluginOptions(app, given);
    if ((command.flags & (kLoadsPlugin | kTakesSchema)) != 0)
        addRepeatable(app, "--schema", given.schemaFiles, "Further classes for the host, as MOF; repeatable", "FILE");
    add("--timeout", given.timeout, "Give up after so long; 0: never (default: 30)", "SECONDS");
    add("--output", given.outputFile, "Write to a file, which appears whole or not at all", "FILE");
    add("--color", given.color, "auto (default; honours NO_COLOR), always or never", "WHEN");
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const CommandDescription& command : commands()) names.emplace_back(command.name);
    return names;
}

/// Whether a word in the place of a command is what to show: a path, or a device whose name is no slip of a command's.
bool isOperandOfTree(const std::string& word) {
    if (word.find('/') != std::string::npos) return true;
    return !word.empty() && nearestNames(word, commandNames()).empty() && namesDevice(word);
}

/// `otherwise`: what is said of a word that no command's name is like.
[[noreturn]] void refuseCommand(const std::string& name, const char* otherwise = "") {
    const std::vector<std::string> names = commandNames();
    const std::string meant = didYouMean(nearestNames(name, names));
    wrongUsage("unknown command \"" + name + "\"" + (meant.empty() ? otherwise : meant) +
               "; the commands are: " + joined(names, ", ") + seeHelp(""));
}

/// Reads one stretch of the command line with the options of one command. Returns what it could not place; for the
/// stretch before a command (`command` has no name) that begins with the command's own name. `shownText` is set when
/// help or the version was asked for.
std::vector<std::string> readStretch(const CommandDescription& command, std::vector<std::string> words,
                                     GivenTexts& given, std::string& shownText) {
    const std::string commandName = command.name;
    const bool isBeforeCommand = commandName.empty();
    CLI::App app(isBeforeCommand ? "The disks of this server, as the disk plug-in reports them." : command.summary);
    app.formatter(std::make_shared<HelpFormatter>(command));
    addOptions(app, command, given);
    app.allow_extras();
    if (isBeforeCommand) app.prefix_command();
    std::reverse(words.begin(), words.end());  // the library takes them last word first
    try {
        app.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        app.footer(isBeforeCommand ? generalHelp() : command.details);
        shownText = app.help();
    } catch (const CLI::CallForVersion& version) {
        shownText = version.what();
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string option = error.what();  // begins with the option's name and a colon
        wrongUsage((isBeforeCommand ? "" : commandName + ": ") + option.substr(0, option.find(':')) + " needs a value" +
                   seeHelp(commandName));
    } catch (const CLI::ParseError& error) {
        wrongUsage((isBeforeCommand ? "" : commandName + ": ") + error.what() + seeHelp(commandName));
    }
    return app.remaining();
}

/// ", did you mean --format?" for a slip of an option that the command has; nothing otherwise.
std::string meantOption(const std::string& word, const CommandDescription& command) {
    CLI::App app;
    GivenTexts unused;
    addOptions(app, command, unused);
    std::vector<std::string> names;  // without dashes, which would make short names look alike
    for (const CLI::Option* option : app.get_options())
        names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
    const std::size_t start = std::min(word.find_first_not_of('-'), word.size());
    std::vector<std::string> near = nearestNames(word.substr(start, word.find('=', start) - start), names);
    for (std::string& name : near) name.insert(0, "--");
    return didYouMean(near);
}

/// Throws for the first word that found no place behind a command.
void refuseLeftovers(const std::vector<std::string>& leftovers, const CommandDescription& command) {
    if (leftovers.empty()) return;
    const std::string& word = leftovers.front();
    if (word.size() > 1 && word.front() == '-')
        wrongUsage("unknown option \"" + word + "\"" + meantOption(word, command) + seeHelp(command.name));
    const std::string name = command.name;
    if (command.operand != nullptr)
        wrongUsage(name + " " + operandRule(command) + "; \"" + word + "\" is one too many" + seeHelp(name));
    wrongUsage(name + " takes no argument \"" + word + "\"" + seeHelp(name));
}

Options showing(const std::string& text) {
    Options options;
    options.run = &runShowText;
    options.mayStall = false;
    options.text = text;
    return options;
}

/// "help", "help COMMAND" and "version" mean the options of these names.
void takeWordsForOptions(std::vector<std::string>& words) {
    if (words.empty()) return;
    if (words.front() == "version" && words.size() == 1) words = {"--version"};
    if (words.front() != "help") return;
    words.erase(words.begin());
    if (!words.empty() && findCommand(words.front()) == nullptr) refuseCommand(words.front());
    words.resize(std::min<std::size_t>(words.size(), 1));
    words.emplace_back("--help");
}

}  // namespace

Options readOptions(int argumentCount, const char* const* arguments) {
    std::vector<std::string> words;
    for (int i = 1; i < argumentCount; ++i) words.emplace_back(arguments[i]);
    takeWordsForOptions(words);
    GivenTexts given;
    std::string shownText;
    const CommandDescription* command = words.empty() ? nullptr : findCommand(words.front());
    if (command == nullptr) {
        words = readStretch(defaultCommand(), std::move(words), given, shownText);
        if (!shownText.empty()) return showing(shownText);
        if (!words.empty()) {
            const bool isEndOfOptions = words.front() == "--";
            if (!isEndOfOptions && words.front().rfind('-', 0) == 0) refuseLeftovers(words, defaultCommand());
            command = findCommand(words.front());
            if (command != nullptr) {
                words.erase(words.begin());
            } else if (isEndOfOptions || isOperandOfTree(words.front())) {
                command = findCommand("tree");
            } else {
                refuseCommand(words.front(), ", and no device has that name");
            }
        }
    } else {
        words.erase(words.begin());
    }
    if (command != nullptr) {
        const auto mark = std::find(words.begin(), words.end(), "--");
        if (mark != words.end()) {
            given.plainOperands.assign(mark + 1, words.end());
            words.erase(mark, words.end());
        }
        refuseLeftovers(readStretch(*command, std::move(words), given, shownText), *command);
        if (!shownText.empty()) return showing(shownText);
        given.operands.insert(given.operands.end(), given.plainOperands.begin(), given.plainOperands.end());
        if (command->operand == nullptr && !given.operands.empty()) refuseLeftovers({given.operands[0]}, *command);
        settleFormat(given, *command);
        if (given.operands.size() > command->mostOperands)
            refuseLeftovers({given.operands[command->mostOperands]}, *command);
        if (given.operands.size() < command->fewestOperands)
            wrongUsage(std::string(command->name) + " " + operandRule(*command) + seeHelp(command->name));
    }
    if (command == nullptr) settleFormat(given, defaultCommand());
    return checkedOptions(given, command == nullptr ? defaultCommand() : *command);
}

}  // namespace diskmgt
