// Opens and closes plug-in libraries.
#pragma once

#include <memory>
#include <string>

#include "refhost/api/reference_host.h"
#include "refhost/services/plugin_manager.h"

namespace NVEXTAL20 {
class IPluginBasicQueryCallbacks;
}

namespace refhost {

/// An open library; closing it may unmap its code.
class PluginLibrary {
public:
    /// Opens the library, whose load-time constructor registers its entry with the current plug-in manager. Throws
    /// `PluginError` when the file is missing, no shared library, misses symbols or throws while it loads.
    ///
    /// An exception that passes through the dynamic linker leaves its lock taken and its books unfinished. The process
    /// can still report the error and exit; it should load nothing more.
    explicit PluginLibrary(const std::string& file);
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;
    ~PluginLibrary();

private:
    void* handle = nullptr;
};

/// A plug-in in service; the destructor takes it out of service and closes its library.
class LoadedPlugin {
public:
    /// Loads the library and starts its plug-in. Throws `PluginError`.
    static std::shared_ptr<LoadedPlugin> load(const std::string& file);
    /// Takes an entry into service that registered from within the process. Throws `PluginError`.
    static std::shared_ptr<LoadedPlugin> adopt(Registration registered);

    /// Asks for the identity and initialises. Throws `PluginError`, and then the entry has been given back.
    LoadedPlugin(std::unique_ptr<PluginLibrary> openLibrary, Registration registered, const std::string& file);
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;
    ~LoadedPlugin();

    const PluginIdentity& identity() const { return known; }
    /// Null when the plug-in answers no data requests.
    NVEXTAL20::IPluginBasicQueryCallbacks* query() const { return queries; }

    /// Gives an entry back that was never taken into service.
    static void release(NVEXTAL20::IPluginCallbacks& entry) noexcept;

private:
    std::unique_ptr<PluginLibrary> library;  // null for an entry of the process itself
    Registration registration;
    NVEXTAL20::IPluginBasicQueryCallbacks* queries = nullptr;
    PluginIdentity known;
};

}  // namespace refhost
