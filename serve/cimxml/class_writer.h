// Class declarations in XML.
#pragma once

#include "serve/cimxml/class_tree.h"
#include "serve/cimxml/parameters.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

/// What a client gets of a class.
struct ClassView {
    PropertyFilter properties;
    bool isLocalOnly = true;  // only what the class itself declares or overrides
    bool hasQualifiers = true;
    bool hasClassOrigin = false;
};

void writeClass(XmlWriter& xml, const CimClass& cls, const ClassView& view);
/// CLASSPATH with host and namespace.
void writeClassPath(XmlWriter& xml, const CimClass& cls, const std::string& hostName);

/// The same for clients that read nothing but instances: without keys and values.
void writeClassAsInstance(XmlWriter& xml, const CimClass& cls, const ClassView& view);
void writeClassAsInstancePath(XmlWriter& xml, const CimClass& cls, const std::string& hostName);

}  // namespace diskmgt::serve
