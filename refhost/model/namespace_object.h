// NamespaceObject: the one namespace root/cimv2, with its classes and their published instances.
#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/cim_model.h"
#include "refhost/model/class_object.h"
#include "refhost/model/instance_object.h"
#include "refhost/model/instance_store.h"
#include "refhost/schema/schema.h"

namespace refhost {

/// Held by shared pointers only; a class held by a plug-in keeps its namespace.
class NamespaceObject final : public NVEXTAL20::ICIMNamespace, public boost::enable_shared_from_this<NamespaceObject> {
public:
    explicit NamespaceObject(boost::shared_ptr<const Schema> schemaInUse);
    NamespaceObject(const NamespaceObject&) = delete;
    NamespaceObject& operator=(const NamespaceObject&) = delete;

    boost::shared_ptr<NVEXTAL20::ICIMClass> GetClass(const std::string& className,
                                                     NVEXTAL20::TCIMOptions& options) override;

    // For the host itself.
    const Schema& schema() const { return *declaredSchema; }
    InstanceStore& store() const { return *instances; }
    boost::shared_ptr<NVEXTAL20::ICIMClass> classObject(const DeclaredClass& declared);
    /// Throws `TTALException` when the class is abstract.
    boost::shared_ptr<InstanceObject> createInstance(const DeclaredClass& declared) const;

private:
    boost::shared_ptr<const Schema> declaredSchema;
    boost::shared_ptr<InstanceStore> instances;
    std::vector<ClassObject> classObjects;  // by class index; never resized
};

}  // namespace refhost
