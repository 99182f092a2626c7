#include "provider/reference_builder.h"

#include "provider/host_access.h"

namespace diskmgt_col {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TTALException;

bool ReferenceBuilder::operator()(boost::shared_ptr<ICIMClass> cls, ReferenceMap& references) const {
    try {
        TCIMOptions creationOptions;
        const boost::shared_ptr<ICIMInstance> instance = cls->CreateInstance(creationOptions);
        if (instance == nullptr || references.empty()) return false;
        for (auto& [role, reference] : references) {
            TCIMOptions lookupOptions;
            (void)instance->GetProperty(role, lookupOptions);  // throws for a role that the class does not declare
            TCIMOptions assignOptions;
            instance->SetProperty(role, reference, assignOptions);
        }
        commit(*instance);
    } catch (const TTALException& failure) {
        logFailedCreation(*cls, failure);
    }
    return false;
}

}  // namespace diskmgt_col
