#include "check/check_journal.h"

#include "text/wording.h"
#include "worker/deadline.h"
#include "worker/worker.h"

namespace diskmgt {

namespace {

constexpr std::size_t kMostAlike = 1000;  // of one check and class

}  // namespace

void CheckJournal::begin(Check check) {
    Deadline::renew();
    worker::makeKnown(packedBegin(check));
}

void CheckJournal::end(Check check, const std::string& note) {
    if (const std::size_t left = unsaid[check]; left > 0)
        worker::makeKnown(packedFinding({check, false, "", counted(left, "further finding") + " like these"}));
    worker::makeKnown(packedEnd({check, note}));
}

void CheckJournal::add(const CheckFinding& finding) {
    const std::string packed = packedFinding(finding);
    if (!made.insert(packed).second) return;
    if (++counts[{finding.check, finding.className}] > kMostAlike)
        ++unsaid[finding.check];
    else
        worker::makeKnown(packed);
}

void CheckJournal::add(const CheckFindings& findings) {
    for (const CheckFinding& finding : findings) add(finding);
}

}  // namespace diskmgt
