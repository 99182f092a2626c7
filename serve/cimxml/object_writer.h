// Instances and their names in XML.
#pragma once

#include <string>

#include "serve/cimxml/object_store.h"
#include "serve/cimxml/parameters.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

/// The PROPERTY elements that a client gets of an instance.
struct InstanceView {
    PropertyFilter properties;
    const CimClass* upTo = nullptr;  // only the properties that this class has, too; null: all
    bool hasClassOrigin = false;
};

/// Throws `CimFailure` when the answer has become too large.
void writeInstanceName(XmlWriter& xml, const StoredObject& object);
/// In the short form: a client shows the other one as a key that is missing.
void writeKeylessName(XmlWriter& xml, const std::string& className);
void writeInstance(XmlWriter& xml, const StoredObject& object, const InstanceView& view);

/// NAMESPACEPATH of everything here.
void writeNamespacePath(XmlWriter& xml, const std::string& hostName);
/// INSTANCEPATH with host and namespace.
void writeInstancePath(XmlWriter& xml, const StoredObject& object, const std::string& hostName);

}  // namespace diskmgt::serve
