#include "terminal/remarks.h"

#include <cstdio>

#include "terminal/progress_line.h"
#include "text/readable_text.h"

namespace diskmgt {

void writeRemark(const std::string& sentence) {
    const std::string line = "diskmgt: " + escapedControls(sentence) + "\n";
    progress_line::erase();
    // Nobody is left to be told when standard error itself fails.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
    (void)std::fflush(stderr);
}

}  // namespace diskmgt
