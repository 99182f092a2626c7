// The operations of a class: identity, new instances, enumeration.
#include "refhost/model/class_object.h"

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/boundary/request_scope.h"
#include "refhost/model/namespace_object.h"

namespace refhost {

using NVEXTAL20::ICIMInstance;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TCIMOptions;

namespace {

constexpr int kIncludingSubclasses = 1;

TraceArguments identity(const DeclaredClass& declared) { return {{"class", declared.name()}}; }

}  // namespace

std::string ClassObject::GetName(TCIMOptions& /*options*/) {
    return cross(
        "className", [&] { return identity(*declared); },
        [&] {
            RequestScope::noteServed(*declared);
            return declared->name();
        },
        AsItIs());
}

boost::shared_ptr<ICIMNamespace> ClassObject::GetNamespace(TCIMOptions& /*options*/) {
    return crossToPointer(
        "classNamespace", [&] { return identity(*declared); },
        [&] { return boost::shared_ptr<ICIMNamespace>(owner->shared_from_this()); },
        [](const auto&) { return std::string(ReferenceHost::kNamespace); });
}

bool ClassObject::IsAssociation(TCIMOptions& /*options*/) {
    return cross(
        "isAssociation", [&] { return identity(*declared); },
        [&] {
            RequestScope::noteServed(*declared);
            return declared->declaration().isAssociation;
        },
        AsItIs());
}

boost::shared_ptr<ICIMInstance> ClassObject::CreateInstance(TCIMOptions& /*options*/) {
    return crossToPointer(
        "createInstance", [&] { return identity(*declared); },
        [&] { return boost::shared_ptr<ICIMInstance>(owner->createInstance(*declared)); },
        [&](const auto&) { return declared->name(); });
}

void ClassObject::EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, int flag,
                                     TCIMOptions& /*options*/) {
    (void)cross(
        "enumerateInstances",
        [&] {
            return TraceArguments{{"class", declared->name()}, {"flag", std::int64_t{flag}}};
        },
        [&] {
            // A copy, since the callback may publish and must not find a lock held.
            const auto found = flag == kIncludingSubclasses ? owner->store().familyOf(*declared)
                                                            : owner->store().instancesOf(*declared);
            std::uint64_t delivered = 0;
            for (const auto& instance : found) {
                ++delivered;
                if (!callback(instance)) break;
            }
            return delivered;
        },
        AsItIs());
}

}  // namespace refhost
