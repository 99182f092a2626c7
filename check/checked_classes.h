// Which classes a plug-in is asked for.
#pragma once

#include <string>
#include <vector>

#include "check/finding.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {

struct CheckedClasses {
    std::vector<std::string> names;  // associations last, so that they find what they pair
    CheckFindings remarks;           // on classes that are left out: a request for them would never come back
};

/// Those that the disk plug-in serves, and every other one that has no class beneath it and is not the host's to
/// publish. May take a second, for mounts that do not answer.
CheckedClasses classesToCheck(const refhost::ReferenceHost& host);

/// What the host published before any request.
std::vector<refhost::Instance> hostsOwnInstances(const refhost::ReferenceHost& host);

}  // namespace diskmgt
