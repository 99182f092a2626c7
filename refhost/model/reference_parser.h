// Reads an object path as a reference within a namespace.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "plugin/host/cim_model.h"
#include "refhost/value/content.h"

namespace refhost {

/// Throws `TTALException` when the text is not an object path, the namespace is null or does not know the class, or a
/// key does not belong to the class or does not fit its type. The named instance need not exist. With a namespace of
/// another host, only the class is checked.
boost::shared_ptr<const NVEXTAL20::TCIMReference::Content> parseReference(const std::string& text,
                                                                          NVEXTAL20::ICIMNamespace* nameSpace);

}  // namespace refhost
