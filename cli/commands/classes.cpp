// classes: the schema, which needs no plug-in.
#include <algorithm>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/io/output.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "session/class_plan.h"
#include "session/schema_files.h"
#include "session/served_classes.h"
#include "text/readable_text.h"

namespace diskmgt {

namespace {

using SchemaTexts = std::vector<refhost::SchemaText>;

/// The lines of the text, each with what could steer a terminal escaped.
std::string readableLines(const std::string& text) {
    std::string readable;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        readable += escapedControls(text.substr(begin, end - begin)) + "\n";
        begin = end + 1;
    }
    return readable;
}

std::string schemaText(const SchemaTexts& further, bool forTerminal) {
    std::string text = std::string(refhost::ReferenceHost::baseMof()) + "\n" + refhost::ReferenceHost::vendorMof();
    for (const refhost::SchemaText& one : further) {
        text += "\n" + (forTerminal ? readableLines(one.text) : one.text);
        if (text.back() != '\n') text += "\n";
    }
    return text;
}

std::string wholeSchema(const refhost::ReferenceHost& host, const SchemaTexts& further, const Options& options,
                        const Output& output) {
    if (options.format == Format::kMof) return schemaText(further, output.isTerminal());
    if (options.format == Format::kJson) return json::classList(host.classes(), servedClasses());
    return classTree(host.classes(), servedClasses(), chooseStyle(options.color, output.isTerminal()));
}

std::string oneClass(const refhost::ClassDeclaration& declaration, const Options& options, const Output& output) {
    if (options.format == Format::kMof)
        throw CommandError(kWrongUsage,
                           "--format mof prints the whole schema; leave out the class, or take table or json for it");
    if (options.format == Format::kJson) {
        const std::string document = json::classDetails(declaration, servedClasses());
        return output.isTerminal() ? json::forTerminal(document) : document;
    }
    return classTable(declaration, chooseStyle(options.color, output.isTerminal()));
}

}  // namespace

ExitStatus runClasses(const Options& options) try {
    refhost::HostOptions hostOptions;
    hostOptions.schemaTexts = readSchemaFiles(options.schemaFiles, options.timeoutSeconds);
    const refhost::ReferenceHost host(hostOptions);
    requireKnownClasses(host, options.operands);
    Output output(options.outputFile);
    output.write(options.operands.empty() ? wholeSchema(host, hostOptions.schemaTexts, options, output)
                                          : oneClass(*host.findClass(options.operands.front()), options, output));
    output.finish();
    return kDone;
} catch (const refhost::SchemaError& refusal) {
    refuseSchema(refusal);
}

}  // namespace diskmgt
