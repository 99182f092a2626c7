// What every stand-in plug-in shares: an identity, and registration when the library is loaded.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"

namespace test_plugin {

using Classes = std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>;

class TestPlugin : public NVEXTAL20::IPluginCallbacks, public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    unsigned int GetType() override { return 7; }
    std::string GetName() override { return "Stand-in"; }
    std::string GetVersion() override { return "0.1"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void PrepareForUnload() override { delete this; }
    void Init() override {}
    void DeInit() override {}
};

/// Registers a new `Plugin` when it is constructed; meant for a variable at namespace scope.
template <typename Plugin>
class Registration {
public:
    Registration() {
        const auto manager = NVEXTAL20::TRootObject::GetPluginManager();
        dynamic_cast<NVEXTAL20::TPluginManagerNamespace&>(*manager).RegisterPlugin(new Plugin);
    }
};

inline std::string nameOf(NVEXTAL20::ICIMClass& cls) {
    NVEXTAL20::TCIMOptions options;
    return cls.GetName(options);
}

}  // namespace test_plugin
