// The classes that plug-ins serve, and what a request for any other class means.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// All 17 of the disk plug-in, in the order of the schema.
const std::vector<std::string>& servedClasses();

/// The classes whose instances answer a request for the class: itself and, unless it is served, all beneath it, in the
/// order of the schema.
std::vector<std::string> answeringClasses(const refhost::ReferenceHost& host, const std::string& className);

/// What to ask the plug-in for: a class that is not served gives way to the served ones beneath it, each of which is
/// asked for once. A served class stays as often as it was named, and so does one without a served class beneath it.
/// Of the classes that are not built into the host all but the abstract ones count as served.
std::vector<std::string> requestedClasses(const refhost::ReferenceHost& host, const std::vector<std::string>& named);

}  // namespace diskmgt
