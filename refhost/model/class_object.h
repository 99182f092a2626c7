// ClassObject: a declared class as plug-ins hold it. Lives inside its namespace.
#pragma once

#include "plugin/host/cim_model.h"
#include "refhost/schema/schema.h"

namespace refhost {

class NamespaceObject;

class ClassObject final : public NVEXTAL20::ICIMClass {
public:
    ClassObject(NamespaceObject& nameSpace, const DeclaredClass& declaredClass)
        : owner(&nameSpace), declared(&declaredClass) {}

    std::string GetName(NVEXTAL20::TCIMOptions& options) override;
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> GetNamespace(NVEXTAL20::TCIMOptions& options) override;
    bool IsAssociation(NVEXTAL20::TCIMOptions& options) override;
    boost::shared_ptr<NVEXTAL20::ICIMInstance> CreateInstance(NVEXTAL20::TCIMOptions& options) override;
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NVEXTAL20::ICIMInstance>)> callback, int flag,
                            NVEXTAL20::TCIMOptions& options) override;

private:
    NamespaceObject* owner;  // not owned: a pointer to the class holds the namespace
    const DeclaredClass* declared;
};

}  // namespace refhost
