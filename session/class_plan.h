// Which classes are requested, and in which order, so that associations find the instances they pair.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

struct ClassPlan {
    std::vector<std::string> earlier;  // published by a request of its own beforehand; empty: no such request
    std::vector<std::string> request;  // the classes asked for, each as often as it was named
};

/// `exact`: just the named classes in just that order. Otherwise the classes that an association relies on are
/// published before it is served: those not asked for by an earlier request, and an association that stands before
/// one of them moves behind it, because a request begins by dropping the instances of all its classes.
ClassPlan planRequest(const std::vector<std::string>& asked, bool exact);

/// Throws `CommandError` that names the nearest known names when the schema does not declare one of the classes.
void requireKnownClasses(const refhost::ReferenceHost& host, const std::vector<std::string>& asked);

}  // namespace diskmgt
