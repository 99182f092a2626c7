// PropertyObject: one property of one instance, as plug-ins hold it. Lives inside its instance.
#pragma once

#include <cstddef>

#include "plugin/host/cim_model.h"

namespace refhost {

class InstanceObject;

class PropertyObject final : public NVEXTAL20::ICIMProperty {
public:
    PropertyObject(InstanceObject& instance, std::size_t positionInClass)
        : owner(&instance), position(positionInClass) {}

    NVEXTAL20::TCIMValue::TCIMType GetType(NVEXTAL20::TCIMOptions& options) override;
    bool IsArray(NVEXTAL20::TCIMOptions& options) override;
    NVEXTAL20::TCIMValue GetValue(NVEXTAL20::TCIMOptions& options) override;

private:
    InstanceObject* owner;  // not owned: a pointer to the property holds the instance
    std::size_t position;
};

}  // namespace refhost
