// What --help and --version ask for.
#include "cli/commands/commands.h"
#include "cli/output.h"

namespace diskmgt_cli {

ExitStatus runShowText(const Options& options) {
    Output output("");
    output.write(options.text);
    output.finish();
    return kDone;
}

}  // namespace diskmgt_cli
