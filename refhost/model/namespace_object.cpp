// Class lookup and the making of instances.
#include "refhost/model/namespace_object.h"

#include <boost/make_shared.hpp>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"

namespace refhost {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::TTALException;

NamespaceObject::NamespaceObject(boost::shared_ptr<const Schema> schemaInUse)
    : declaredSchema(std::move(schemaInUse)),
      instances(boost::make_shared<InstanceStore>(declaredSchema->classes().size())) {
    classObjects.reserve(declaredSchema->classes().size());
    for (const DeclaredClass& declared : declaredSchema->declaredClasses()) classObjects.emplace_back(*this, declared);
}

boost::shared_ptr<ICIMClass> NamespaceObject::GetClass(const std::string& className,
                                                       NVEXTAL20::TCIMOptions& /*options*/) {
    return crossToPointer(
        "getClass",
        [&] {
            return TraceArguments{{"name", className}};
        },
        [&] {
            const DeclaredClass* const declared = declaredSchema->find(className);
            if (declared == nullptr)
                throw TTALException("the namespace " + std::string(ReferenceHost::kNamespace) + " has no class \"" +
                                    className + "\"");
            return classObject(*declared);
        },
        [&](const auto&) { return className; });
}

boost::shared_ptr<ICIMClass> NamespaceObject::classObject(const DeclaredClass& declared) {
    return boost::shared_ptr<ICIMClass>(shared_from_this(), &classObjects[declared.index()]);
}

boost::shared_ptr<InstanceObject> NamespaceObject::createInstance(const DeclaredClass& declared) const {
    if (declared.declaration().isAbstract)
        throw TTALException("the class " + declared.name() + " is abstract: it has no instances");
    return boost::make_shared<InstanceObject>(declared, declaredSchema, instances);
}

}  // namespace refhost
