#include "terminal/remarks.h"

#include <cstdio>

#include "terminal/progress_line.h"
#include "text/readable_text.h"

namespace diskmgt {

namespace {

bool (*taker)(const std::string&) = nullptr;

}  // namespace

void offerRemarksTo(bool (*takes)(const std::string& sentence)) { taker = takes; }

void writeRemark(const std::string& sentence) {
    if (taker != nullptr && taker(sentence)) return;
    const std::string line = "diskmgt: " + escapedControls(sentence) + "\n";
    progress_line::erase();
    // Nobody is left to be told when standard error itself fails.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
    (void)std::fflush(stderr);
}

}  // namespace diskmgt
