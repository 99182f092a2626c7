// The ten operations. Each writes what belongs into IRETURNVALUE, or throws `CimFailure`.
#pragma once

#include <string>

#include "serve/cimxml/class_tree.h"
#include "serve/cimxml/object_store.h"
#include "serve/cimxml/parameters.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

struct OperationContext {
    const ClassTree& tree;
    const ObjectStore* store;  // null: nothing is known yet
    const std::string& hostName;
    const std::string& whyNothing;

    /// Throws `CimFailure` when there is none.
    const ObjectStore& neededStore() const;
};

void enumerateClassNames(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void enumerateClasses(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void getClass(const OperationContext& context, const CimCall& call, XmlWriter& xml);

void enumerateInstanceNames(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void enumerateInstances(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void getInstance(const OperationContext& context, const CimCall& call, XmlWriter& xml);

void associators(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void associatorNames(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void references(const OperationContext& context, const CimCall& call, XmlWriter& xml);
void referenceNames(const OperationContext& context, const CimCall& call, XmlWriter& xml);

}  // namespace diskmgt::serve
