// What the plug-in's calls to the host say about it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "check/finding.h"
#include "refhost/api/reference_host.h"

namespace diskmgt {

/// The calls that the host refused: values of another type than the property's, properties and classes that are not
/// declared, instances that are committed twice.
CheckFindings checkRefusals(const std::vector<refhost::TraceEntry>& trace);

/// Every call came from `thread`, on which all requests ran.
CheckFindings checkThread(const std::vector<refhost::TraceEntry>& trace, int thread);

/// The plug-in's calls in each request, in order, by the class of the request. Requests for several classes are left
/// out.
std::map<std::string, std::vector<std::string>> callsByClass(const std::vector<refhost::TraceEntry>& trace);

/// The operations of the entry object that did not come back with an answer while it was loaded or unloaded.
CheckFindings checkOperations(const std::vector<refhost::TraceEntry>& trace, Check check);

}  // namespace diskmgt
