// classes: the schema, which needs no plug-in.
#include <string>

#include "cli/commands/commands.h"
#include "cli/io/output.h"
#include "cli/tables/table.h"
#include "formats/json.h"
#include "session/class_plan.h"
#include "session/served_classes.h"

namespace diskmgt {

namespace {

std::string wholeSchema(const refhost::ReferenceHost& host, const Options& options, const Output& output) {
    if (options.format == Format::kMof)
        return std::string(refhost::ReferenceHost::baseMof()) + "\n" + refhost::ReferenceHost::vendorMof();
    if (options.format == Format::kJson) return json::classList(host.classes(), servedClasses());
    return classTree(host.classes(), servedClasses(), chooseStyle(options.color, output.isTerminal()));
}

std::string oneClass(const refhost::ClassDeclaration& declaration, const Options& options, const Output& output) {
    if (options.format == Format::kMof)
        throw CommandError(kWrongUsage,
                           "--format mof prints the whole schema; leave out the class, or take table or json for it");
    if (options.format == Format::kJson) return json::classDetails(declaration, servedClasses());
    return classTable(declaration, chooseStyle(options.color, output.isTerminal()));
}

}  // namespace

ExitStatus runClasses(const Options& options) {
    const refhost::ReferenceHost host;
    requireKnownClasses(host, options.operands);
    Output output(options.outputFile);
    output.write(options.operands.empty() ? wholeSchema(host, options, output)
                                          : oneClass(*host.findClass(options.operands.front()), options, output));
    output.finish();
    return kDone;
}

}  // namespace diskmgt
