// As little as a plug-in can be: made from the installed headers alone, it says who it is.
#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"

namespace {

class SmallPlugin : public NVEXTAL20::IPluginCallbacks, public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    unsigned int GetType() override { return 7; }
    std::string GetName() override { return "Small plug-in"; }
    std::string GetVersion() override { return "0.1"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void PrepareForUnload() override { delete this; }
    void Init() override {}
    void DeInit() override {}
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace>,
                 std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>&) override {}
};

__attribute__((constructor)) void registerSmallPlugin() {
    const auto manager = NVEXTAL20::TRootObject::GetPluginManager();
    dynamic_cast<NVEXTAL20::TPluginManagerNamespace&>(*manager).RegisterPlugin(new SmallPlugin);
}

}  // namespace
