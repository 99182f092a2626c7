// Registration, with the library being loaded known through the thread that loads it.
#include "refhost/services/plugin_manager.h"

#include <algorithm>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"

namespace refhost {

namespace {

thread_local LoadScope* currentLoad = nullptr;

struct CurrentManager {
    std::mutex mutex;
    boost::shared_ptr<PluginManager> manager;
};

CurrentManager& currentManager() {
    static CurrentManager& kept = *new CurrentManager;  // never destroyed: asked for until the process ends
    return kept;
}

}  // namespace

LoadScope::LoadScope() : outer(currentLoad) { currentLoad = this; }
LoadScope::~LoadScope() { currentLoad = outer; }

boost::shared_ptr<PluginManager> PluginManager::current() {
    const std::lock_guard<std::mutex> guard(currentManager().mutex);
    return currentManager().manager;
}

void PluginManager::setCurrent(const boost::shared_ptr<PluginManager>& manager) {
    const std::lock_guard<std::mutex> guard(currentManager().mutex);
    currentManager().manager = manager;
}

NVEXTAL20::TPluginManagerProvider* PluginManager::registerEntry(NVEXTAL20::IPluginCallbacks* entry) {
    const std::lock_guard<std::mutex> guard(mutex);
    if (entry == nullptr || isClosed) return nullptr;
    const auto isSame = [entry](const Registration& other) { return other->entry == entry; };
    if (std::any_of(waiting.begin(), waiting.end(), isSame)) return nullptr;
    Registration& place = currentLoad != nullptr ? currentLoad->registered : waiting.emplace_back();
    if (place) return nullptr;
    place = std::make_unique<NVEXTAL20::TPluginManagerProvider>(entry);
    return place.get();
}

std::vector<Registration> PluginManager::takeUnloaded() {
    const std::lock_guard<std::mutex> guard(mutex);
    return std::exchange(waiting, {});
}

std::vector<Registration> PluginManager::close() {
    const std::lock_guard<std::mutex> guard(mutex);
    isClosed = true;
    return std::exchange(waiting, {});
}

}  // namespace refhost

namespace NVEXTAL20 {

TPluginManagerNamespace::TPluginManagerNamespace() = default;
TPluginManagerNamespace::~TPluginManagerNamespace() = default;

boost::shared_ptr<ICIMClass> TPluginManagerNamespace::GetClass(const std::string& className, TCIMOptions& /*options*/) {
    return refhost::crossToPointer(
        "getClass",
        [&] {
            return refhost::TraceArguments{{"name", className}};
        },
        [&]() -> boost::shared_ptr<ICIMClass> {
            throw TTALException("the plug-in manager holds no classes, not even \"" + className + "\"");
        },
        [&](const auto&) { return className; });
}

TPluginManagerProvider* TPluginManagerNamespace::RegisterPlugin(IPluginCallbacks* entry) {
    return refhost::crossToPointer(
        "registerPlugin", refhost::noArguments,
        [&]() -> TPluginManagerProvider* {
            auto* const manager = dynamic_cast<refhost::PluginManager*>(this);
            return manager == nullptr ? nullptr : manager->registerEntry(entry);
        },
        [](TPluginManagerProvider*) { return std::string("plug-in handle"); });
}

}  // namespace NVEXTAL20
