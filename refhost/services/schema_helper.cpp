// TCIMSchemaHelper: reads the hosting system's identity from its instance.
#include "plugin/host/schema_helper.h"

#include <boost/make_shared.hpp>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/services/system_identity.h"

namespace refhost {

void publishSystem(const boost::shared_ptr<NamespaceObject>& nameSpace, const std::string& systemName) {
    const DeclaredClass* const declared = nameSpace->schema().find(kSystemClass);
    if (declared == nullptr) throw NVEXTAL20::TTALException(std::string("the schema lacks ") + kSystemClass);
    const auto assignText = [](InstanceObject& instance, const char* name, const std::string& text) {
        instance.assign(name, boost::make_shared<const NVEXTAL20::TCIMValue::Content>(CimType::kString, text));
    };
    const boost::shared_ptr<InstanceObject> system = nameSpace->createInstance(*declared);
    assignText(*system, "CreationClassName", kSystemClass);
    assignText(*system, "Name", systemName);
    nameSpace->store().publishForGood(system);
}

namespace {

/// The text of a key of the namespace's computer system.
std::string systemKey(const boost::shared_ptr<NVEXTAL20::ICIMNamespace>& nameSpace, const char* key) {
    if (const auto* const own = dynamic_cast<const NamespaceObject*>(nameSpace.get())) {
        for (const auto& system : own->store().instancesOf(*own->schema().find(kSystemClass)))
            if (const auto position = system->declaredClass().findProperty(key))
                if (const ValuePointer value = system->value(*position)) return value->text();
    }
    throw NVEXTAL20::TTALException("the namespace has no hosting computer system");
}

}  // namespace

}  // namespace refhost

namespace NVEXTAL20 {

std::string TCIMSchemaHelper::GetSystemName(boost::shared_ptr<ICIMNamespace> nameSpace) {
    return refhost::cross(
        "getSystemName", refhost::noArguments, [&] { return refhost::systemKey(nameSpace, "Name"); },
        refhost::AsItIs());
}

std::string TCIMSchemaHelper::GetSystemCreationClassName(boost::shared_ptr<ICIMNamespace> nameSpace) {
    return refhost::cross(
        "getSystemCreationClassName", refhost::noArguments,
        [&] { return refhost::systemKey(nameSpace, "CreationClassName"); }, refhost::AsItIs());
}

}  // namespace NVEXTAL20
