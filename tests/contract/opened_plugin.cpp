#include "tests/contract/opened_plugin.h"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
#define CONTRACT_WITH_LSAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CONTRACT_WITH_LSAN 1
#endif
#endif
#if defined(CONTRACT_WITH_LSAN)
#include <sanitizer/lsan_interface.h>
#endif

namespace contract {

namespace {

/// In a host without a plug-in manager the entry object is never registered and never freed. Only there, allocations of
/// the loading library do not count as leaks.
class UnregisteredEntry {
public:
    UnregisteredEntry()
        : isExempt(second_host::SecondHost::current().offers().pluginManager != second_host::PluginManager::kPresent) {
#if defined(CONTRACT_WITH_LSAN)
        if (isExempt) __lsan_disable();
#endif
    }
    ~UnregisteredEntry() {
#if defined(CONTRACT_WITH_LSAN)
        if (isExempt) __lsan_enable();
#endif
    }
    UnregisteredEntry(const UnregisteredEntry&) = delete;
    UnregisteredEntry& operator=(const UnregisteredEntry&) = delete;

private:
    [[maybe_unused]] const bool isExempt;
};

/// `dlopen` is declared never to throw, but exceptions of the library's constructors pass through it. For a call
/// through this pointer, the compiler allows that.
void* (*volatile const openLibrary)(const char* file, int flags) = dlopen;

struct Search {
    const std::string& nameEnd;
    std::vector<std::string> found;
};

}  // namespace

OpenedPlugin::OpenedPlugin() : library(nullptr) {
    const UnregisteredEntry exempt;
    library = openLibrary(DISKMGT_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) throw std::runtime_error(dlerror());
}

NVEXTAL20::IPluginCallbacks& OpenedPlugin::entry() const {
    NVEXTAL20::IPluginCallbacks* const registered = second_host::SecondHost::current().plugin();
    if (registered == nullptr) throw std::logic_error("the plug-in is not registered");
    return *registered;
}

void OpenedPlugin::getData(const boost::shared_ptr<NVEXTAL20::ICIMNamespace>& nameSpace, ClassList classes) const {
    dynamic_cast<NVEXTAL20::IPluginBasicQueryCallbacks&>(entry()).GetData(nameSpace, classes);
}

void OpenedPlugin::request(const boost::shared_ptr<second_host::Namespace>& nameSpace,
                           const std::vector<std::string>& classNames) const {
    ClassList classes;
    for (const std::string& name : classNames) {
        const auto cls = nameSpace->find(name);
        if (cls == nullptr) throw std::logic_error("no class is called " + name);
        classes.push_back(cls);
    }
    getData(nameSpace, classes);
}

void OpenedPlugin::unload() {
    if (library == nullptr) return;
    second_host::SecondHost& host = second_host::SecondHost::current();
    if (host.plugin() != nullptr) host.plugin()->PrepareForUnload();
    host.forgetPlugin();
    (void)dlclose(library);  // mappedLibraries shows whether it is unmapped
    library = nullptr;
}

std::vector<second_host::Call> Loaded::calls(const std::string& operation) const {
    std::vector<second_host::Call> chosen;
    for (const second_host::Call& call : host.calls()) {
        if (call.operation == operation) chosen.push_back(call);
    }
    return chosen;
}

std::vector<std::string> mappedLibraries(const std::string& nameEnd) {
    Search search{nameEnd, {}};
    const auto visit = [](dl_phdr_info* info, std::size_t, void* context) {
        auto& wanted = *static_cast<Search*>(context);
        const std::string file = info->dlpi_name;
        const bool endsSo = file.size() >= wanted.nameEnd.size() &&
                            file.compare(file.size() - wanted.nameEnd.size(), std::string::npos, wanted.nameEnd) == 0;
        if (endsSo) wanted.found.push_back(std::filesystem::canonical(file));
        return 0;
    };
    (void)dl_iterate_phdr(visit, &search);  // the visitor never stops early
    return search.found;
}

}  // namespace contract
