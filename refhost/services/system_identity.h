// The hosting computer system, as the schema knows it.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "refhost/model/namespace_object.h"

namespace refhost {

inline constexpr const char* kSystemClass = "VEXSG_ComputerSystem";

/// Publishes the one instance of the hosting system permanently.
void publishSystem(const boost::shared_ptr<NamespaceObject>& nameSpace, const std::string& systemName);

}  // namespace refhost
