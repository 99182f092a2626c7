// Reads an object path as a reference within a namespace.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>

#include "plugin/host/cim_model.h"
#include "refhost/value/content.h"

namespace refhost {

/// Throws `TTALException` when the text is no object path, the namespace is null or does not know the class, or a key
/// is none of the class or does not fit its type. A namespace of another kind than this host's is asked for the class
/// alone.
boost::shared_ptr<const NVEXTAL20::TCIMReference::Content> parseReference(const std::string& text,
                                                                          NVEXTAL20::ICIMNamespace* nameSpace);

}  // namespace refhost
