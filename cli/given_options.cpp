#include "cli/given_options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include "session/log_lines.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

double readTimeout(const std::string& text) {
    constexpr double kLongest = 1e9;  // 31 years; what follows is still exact in nanoseconds
    double seconds = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || stop != end || !std::isfinite(seconds) || seconds < 0 || seconds > kLongest)
        wrongUsage("--timeout takes a number of seconds, 0 for none, not \"" + text + "\"");
    return seconds;
}

int readSeverity(const std::string& text) {
    if (text == "none") return -1;
    const std::vector<std::string>& names = severityNames();
    const auto found = std::find(names.begin(), names.end(), text);
    if (found == names.end()) wrongUsage("--log-level takes " + joined(names, ", ") + " or none, not \"" + text + "\"");
    return static_cast<int>(std::distance(names.begin(), found));
}

Format readFormat(const std::string& text, const CommandDescription& command) {
    if (std::find(command.formats.begin(), command.formats.end(), text) == command.formats.end())
        wrongUsage("--format takes " + joinedWithOr(command.formats) + " here, not \"" + text + "\"" +
                   seeHelp(command.name));
    if (text == "table") return Format::kTable;
    if (text == "csv") return Format::kCsv;
    if (text == "mof") return Format::kMof;
    return Format::kJson;
}

ColorChoice readColor(const std::string& text) {
    if (text == "auto") return ColorChoice::kAuto;
    if (text == "always") return ColorChoice::kAlways;
    if (text != "never") wrongUsage("--color takes auto, always or never, not \"" + text + "\"");
    return ColorChoice::kNever;
}

std::vector<std::string> splitAtCommas(const std::string& text) {
    std::vector<std::string> names;
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = text.find(',', start);
        names.push_back(text.substr(start, end == std::string::npos ? end : end - start));
        if (names.back().empty()) wrongUsage("--columns takes names separated by commas, not \"" + text + "\"");
    }
    return names;
}

/// What comes before a command has been read without knowing the command.
void refuseForeignOptions(const GivenTexts& given, const CommandDescription& command) {
    const std::string name = command.name[0] == '\0' ? "tree" : command.name;
    const auto refuse = [&name](const char* option) { wrongUsage(name + " has no " + option + seeHelp(name)); };
    if (given.all && (command.flags & kHasAll) == 0) refuse("--all");
    if (given.bytes && (command.flags & kHasBytes) == 0) refuse("--bytes");
    if (given.cim && (command.flags & kIsTree) == 0) refuse("--cim");
    if (given.columns && (command.flags & kHasColumns) == 0) refuse("--columns");
    if ((command.flags & kLoadsPlugin) == 0) {
        if (given.pluginFile) refuse("--plugin");
        if (given.logLevel) refuse("--log-level");
        if (!given.virtualDevices.empty()) refuse("--virtual-device");
    }
    if (!given.schemaFiles.empty() && (command.flags & (kLoadsPlugin | kTakesSchema)) == 0) refuse("--schema");
    if (given.format && command.formats.empty()) refuse(given.json ? "--json" : "--format");
}

}  // namespace

void wrongUsage(const std::string& sentence) { throw CommandError(kWrongUsage, sentence); }

std::string seeHelp(const std::string& commandName) {
    return "; see \"diskmgt " + (commandName.empty() ? "" : commandName + " ") + "--help\"";
}

void settleFormat(GivenTexts& given, const CommandDescription& command) {
    if (given.json && given.format && *given.format != "json")
        wrongUsage("--json and --format " + *given.format + " contradict each other; leave one out");
    if (given.json) given.format = "json";
    const bool isForm = (command.flags & kHasCompact) != 0;
    if (!isForm || !given.format) return;
    if (given.operands.empty()) given.operands.push_back(*given.format);
    if (given.operands.front() != *given.format)
        wrongUsage("export writes one form, not " + given.operands.front() + " and " + *given.format +
                   seeHelp("export"));
    given.format.reset();
}

Options checkedOptions(const GivenTexts& given, const CommandDescription& command) {
    refuseForeignOptions(given, command);
    Options options;
    options.run = command.run;
    options.deliver = command.deliver;
    options.operands = given.operands;
    options.judgesPlugin = (command.flags & kJudgesPlugin) != 0;
    options.thorough = given.thorough;
    options.exact = given.exact;
    options.all = given.all;
    options.compact = given.compact;
    options.cim = given.cim;
    options.bytes = given.bytes;
    options.space = given.space;
    if (!command.formats.empty()) options.format = readFormat(given.format.value_or(command.formats.front()), command);
    if (given.columns) {
        options.columns = splitAtCommas(*given.columns);
        if (options.format == Format::kJson || options.format == Format::kMof)
            wrongUsage((command.flags & kIsTree) != 0
                           ? "--columns needs --format table; json carries everything"
                           : "--columns needs --format table or csv; json and mof carry every property");
    }
    if (options.cim && options.format == Format::kJson)
        wrongUsage("--cim needs --format table; \"diskmgt get\" gives what is published as JSON");
    if (options.cim && !options.operands.empty())
        wrongUsage("--cim shows all that is published; leave \"" + options.operands.front() + "\" out" +
                   seeHelp("tree"));
    if ((command.flags & kIsTree) != 0 && contains(options.operands, ""))
        wrongUsage("tree takes the name of a DEVICE, not an empty text");
    if (given.csvSafe && options.format != Format::kCsv)
        wrongUsage("--csv-safe needs --format csv; no other format is read as formulas");
    options.csvSafe = given.csvSafe;
    if (given.logLevel) options.logSeverity = readSeverity(*given.logLevel);
    if (given.timeout) options.timeoutSeconds = readTimeout(*given.timeout);
    if (given.color) options.color = readColor(*given.color);
    options.virtualDevices = given.virtualDevices;
    if (given.outputFile && given.outputFile->empty())
        wrongUsage("--output needs the name of a file, not an empty text");
    options.outputFile = given.outputFile.value_or("");
    options.isForPeople = options.format == Format::kTable;
    if (contains(given.schemaFiles, "")) wrongUsage("--schema needs the name of a file, not an empty text");
    options.schemaFiles = given.schemaFiles;
    options.mayStall =
        (command.flags & kTouchesNothing) == 0 || !options.outputFile.empty() || !options.schemaFiles.empty();
    if (given.pluginFile && given.pluginFile->empty())
        wrongUsage("--plugin needs the name of a file, not an empty text");
    const char* const named = std::getenv("DISKMGT_PLUGIN");
    options.pluginFile = given.pluginFile.value_or(named == nullptr ? "" : named);
    return options;
}

}  // namespace diskmgt
