// TDiskMgtCallbacks: the plug-in's entry object. It identifies the plug-in and hands each requested class to the
// instance provider or the association provider.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"

namespace diskmgt_col {

class LogMessage;

class TDiskMgtCallbacks : public NVEXTAL20::IPluginCallbacks, public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    /// Registers the object with the host's plug-in manager, which owns it from then on. Literals only: runs before
    /// the library's static constants exist. Exceptions of the host pass.
    TDiskMgtCallbacks();
    TDiskMgtCallbacks(const TDiskMgtCallbacks&) = delete;
    TDiskMgtCallbacks& operator=(const TDiskMgtCallbacks&) = delete;
    ~TDiskMgtCallbacks() override = default;

    unsigned int GetType() override;
    std::string GetName() override;
    std::string GetVersion() override;
    std::string GetInterfaceVersion() override;
    void PrepareForUnload() override;
    void Init() override;
    void DeInit() override;

    /// Serves the classes one after the other and catches nothing: an exception from a provider ends the request.
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace,
                 std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>& classes) override;

private:
    NVEXTAL20::TPluginManagerProvider* pluginInstance = nullptr;  // the host's
    LogMessage* log = nullptr;                                    // the singleton
};

}  // namespace diskmgt_col
