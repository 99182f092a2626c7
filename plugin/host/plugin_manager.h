// TPluginManagerNamespace: where a plug-in registers. It is reached as an ICIMNamespace and found by a
// run-time checked cast.
#pragma once

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

/// The host's handle of one registered plug-in. Opaque to plug-ins, owned by the host.
class TPluginManagerProvider;

class TAL_API TPluginManagerNamespace : public ICIMNamespace {
public:
    TPluginManagerNamespace();
    TPluginManagerNamespace(const TPluginManagerNamespace&) = delete;
    TPluginManagerNamespace& operator=(const TPluginManagerNamespace&) = delete;

    /// The plug-in manager holds no classes: always throws `TTALException`.
    boost::shared_ptr<ICIMClass> GetClass(const std::string& className, TCIMOptions& options) override;
    virtual ~TPluginManagerNamespace();

    /// Takes ownership of the entry object; the handle stays valid until the plug-in is unloaded. Null when
    /// the host refuses, and then the plug-in's log lines are dropped.
    TPluginManagerProvider* RegisterPlugin(IPluginCallbacks* entry);
};

}  // namespace NVEXTAL20
