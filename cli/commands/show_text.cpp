// What --help and --version ask for.
#include "cli/commands/commands.h"
#include "cli/io/output.h"

namespace diskmgt {

ExitStatus runShowText(const Options& options) {
    Output output("");
    output.write(options.text);
    output.finish();
    return kDone;
}

}  // namespace diskmgt
