// Operations on classes. What is declared is always known.
#include "serve/cimxml/class_writer.h"
#include "serve/cimxml/key_identity.h"
#include "serve/cimxml/offered_operations.h"

namespace diskmgt::serve {

namespace {

/// The classes beneath the named one; without a name the roots or all. In declaration order.
std::vector<const CimClass*> selected(const ClassTree& tree, const Parameters& parameters) {
    const bool isDeep = parameters.truth("DeepInheritance", false);
    const auto name = parameters.className("ClassName");
    std::vector<const CimClass*> found;
    if (name) {
        const CimClass& above = classOf(tree, *name);
        if (!isDeep) return above.children;
        found.assign(above.family.begin() + 1, above.family.end());  // the first is the class itself
        return found;
    }
    for (const CimClass& cls : tree.classes())
        if (isDeep || cls.superclass == nullptr) found.push_back(&cls);
    return found;
}

ClassView viewOf(const Parameters& parameters) {
    ClassView view;
    view.isLocalOnly = parameters.truth("LocalOnly", true);
    view.hasQualifiers = parameters.truth("IncludeQualifiers", true);
    view.hasClassOrigin = parameters.truth("IncludeClassOrigin", false);
    return view;
}

}  // namespace

void enumerateClassNames(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call, {"ClassName", "DeepInheritance"});
    for (const CimClass* const cls : selected(context.tree, parameters))
        xml.shortForm("CLASSNAME", {{"NAME", cls->name()}});
}

void enumerateClasses(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(
        call, {"ClassName", "DeepInheritance", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin"});
    const ClassView view = viewOf(parameters);
    for (const CimClass* const cls : selected(context.tree, parameters)) writeClass(xml, *cls, view);
}

void getClass(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Parameters parameters(call,
                                {"ClassName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"});
    ClassView view = viewOf(parameters);
    view.properties = parameters.propertyList();
    writeClass(xml, classOf(context.tree, parameters.neededClassName("ClassName")), view);
}

}  // namespace diskmgt::serve
