// PluginManager: where entry objects register, and the handles they get.
#pragma once

#include <boost/shared_ptr.hpp>
#include <memory>
#include <mutex>
#include <vector>

#include "plugin/host/plugin_manager.h"

namespace NVEXTAL20 {

/// One registered plug-in. Plug-ins see its address only.
class TPluginManagerProvider {
public:
    explicit TPluginManagerProvider(IPluginCallbacks* registered) : entry(registered) {}
    IPluginCallbacks* entry;  // owned by the host, freed through PrepareForUnload
};

}  // namespace NVEXTAL20

namespace refhost {

using Registration = std::unique_ptr<NVEXTAL20::TPluginManagerProvider>;

class PluginManager final : public NVEXTAL20::TPluginManagerNamespace {
public:
    /// Takes the entry and returns its handle. Null, and nothing is taken, for a null or already registered entry, for
    /// a second entry of the library that is being loaded, and when no host is there to serve it.
    NVEXTAL20::TPluginManagerProvider* registerEntry(NVEXTAL20::IPluginCallbacks* entry);

    /// Hands over what registered outside a load: entries that belong to the process itself.
    std::vector<Registration> takeUnloaded();
    /// Hands everything over and refuses all that follows.
    std::vector<Registration> close();

    /// The manager of the host that exists; null when there is none.
    static boost::shared_ptr<PluginManager> current();
    static void setCurrent(const boost::shared_ptr<PluginManager>& manager);

private:
    std::mutex mutex;
    bool isClosed = false;
    std::vector<Registration> waiting;
};

/// While it lives, what this thread registers belongs to the library that it loads.
class LoadScope {
public:
    LoadScope();
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;
    ~LoadScope();
    /// Null when nothing registered.
    Registration take() { return std::move(registered); }

private:
    friend class PluginManager;
    Registration registered;
    LoadScope* outer;
};

}  // namespace refhost
