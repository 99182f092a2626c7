// InstanceObject: one instance of a declared class, from creation to publication.
#pragma once

#include <atomic>
#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

#include "plugin/host/cim_model.h"
#include "refhost/model/instance_store.h"
#include "refhost/model/property_object.h"
#include "refhost/schema/schema.h"
#include "refhost/value/content.h"

namespace refhost {

/// Held by shared pointers only. Keeps its schema alive, but not its store: an instance may outlive its host and can
/// then no longer be committed.
class InstanceObject final : public NVEXTAL20::ICIMInstance, public boost::enable_shared_from_this<InstanceObject> {
public:
    InstanceObject(const DeclaredClass& declaredClass, boost::shared_ptr<const Schema> schemaInUse,
                   const boost::shared_ptr<InstanceStore>& home);
    InstanceObject(const InstanceObject&) = delete;
    InstanceObject& operator=(const InstanceObject&) = delete;

    void CommitToClass(NVEXTAL20::TCIMOptions options) override;
    boost::shared_ptr<NVEXTAL20::ICIMProperty> GetProperty(const std::string& name,
                                                           NVEXTAL20::TCIMOptions& options) override;
    void SetProperty(const std::string& name, NVEXTAL20::TCIMValue& newValue, NVEXTAL20::TCIMOptions& options) override;
    NVEXTAL20::TCIMReference GetReference(NVEXTAL20::TCIMOptions& options) override;

    // For the host itself.
    const DeclaredClass& declaredClass() const { return declared; }
    /// Null for a null property.
    ValuePointer value(std::size_t position) const;
    /// `show(declared property, value)` for each, in the class's order, as of one moment. It must not call the
    /// instance.
    template <typename Show>
    void forEachValue(const Show& show) const {
        const std::lock_guard<std::mutex> guard(mutex);
        for (std::size_t i = 0; i < slots.size(); ++i) show(declared.properties()[i], slots[i]);
    }
    /// The object path: the keys that are not null, in byte order.
    std::string path() const;
    /// Throws `TTALException` when the class does not declare the property or the value does not fit it.
    void assign(const std::string& name, const ValuePointer& newValue);

private:
    std::size_t positionOf(const std::string& name) const;
    void checkFit(const DeclaredProperty& property, const NVEXTAL20::TCIMValue::Content& newValue) const;
    void commit();

    const DeclaredClass& declared;
    boost::shared_ptr<const Schema> schema;
    boost::weak_ptr<InstanceStore> store;
    std::vector<PropertyObject> propertyObjects;    // never resized: plug-ins hold pointers into it
    mutable std::atomic<std::size_t> lastFound{0};  // position; plug-ins look a property up, then assign to it

    mutable std::mutex mutex;  // guards the members that follow
    std::vector<ValuePointer> slots;
    bool committed = false;
};

}  // namespace refhost
