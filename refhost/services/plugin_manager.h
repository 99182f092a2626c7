// PluginManager: registers entry objects and gives them handles.
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
    /// Takes the entry and returns its handle. Refuses with null a null or already registered entry, a second entry of
    /// the library that is being loaded, and any entry while no host exists.
    NVEXTAL20::TPluginManagerProvider* registerEntry(NVEXTAL20::IPluginCallbacks* entry);

    /// Hands over the entries that registered outside a load: those of the process itself.
    std::vector<Registration> takeUnloaded();
    /// Hands over all entries and refuses later ones.
    std::vector<Registration> close();

    /// The current host's manager; null without a host.
    static boost::shared_ptr<PluginManager> current();
    static void setCurrent(const boost::shared_ptr<PluginManager>& manager);

private:
    std::mutex mutex;
    bool isClosed = false;
    std::vector<Registration> waiting;
};

/// While it exists, an entry that this thread registers belongs to the library being loaded.
class LoadScope {
public:
    LoadScope();
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;
    ~LoadScope();
    /// Null when the library registered nothing.
    Registration take() { return std::move(registered); }

private:
    friend class PluginManager;
    Registration registered;
    LoadScope* outer;
};

}  // namespace refhost
