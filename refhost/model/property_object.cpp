// The three questions that plug-ins put to a property.
#include "refhost/model/property_object.h"

#include "refhost/boundary/boundary.h"
#include "refhost/boundary/traced_value.h"
#include "refhost/model/instance_object.h"

namespace refhost {

using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMValue;

namespace {

TraceArguments identity(const InstanceObject& owner, const DeclaredProperty& declared) {
    return {{"class", owner.declaredClass().name()}, {"name", declared.declaration->name}};
}

}  // namespace

TCIMValue::TCIMType PropertyObject::GetType(TCIMOptions& /*options*/) {
    const DeclaredProperty& declared = owner->declaredClass().properties()[position];
    return cross(
        "propertyType", [&] { return identity(*owner, declared); },
        [&] { return TCIMValue::TCIMType(typeContent(declared.type)); },
        [](const TCIMValue::TCIMType& type) { return TraceValue(type.ToString()); });
}

bool PropertyObject::IsArray(TCIMOptions& /*options*/) {
    const DeclaredProperty& declared = owner->declaredClass().properties()[position];
    return cross(
        "isArray", [&] { return identity(*owner, declared); }, [&] { return declared.declaration->isArray; }, AsItIs());
}

TCIMValue PropertyObject::GetValue(TCIMOptions& /*options*/) {
    const DeclaredProperty& declared = owner->declaredClass().properties()[position];
    return cross(
        "getValue", [&] { return identity(*owner, declared); }, [&] { return TCIMValue(owner->value(position)); },
        [](const TCIMValue& value) { return tracedValue(value.content()); });
}

}  // namespace refhost
