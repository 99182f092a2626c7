// One sentence: an empty answer with status 0 would otherwise pass for a server without disks.
#include "cli/commands/rights.h"

#include <unistd.h>

#include "terminal/remarks.h"
#include "text/wording.h"

namespace diskmgt {

void mentionRights(const std::vector<std::string>& missing) {
    if (missing.empty() || ::geteuid() == 0) return;
    writeRemark("not root, so these may be out of reach: " + joined(missing, ", ") + "; run as root to see them");
}

}  // namespace diskmgt
