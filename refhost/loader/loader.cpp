#include "refhost/loader/loader.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "plugin/host/plugin_callbacks.h"
#include "refhost/boundary/boundary.h"
#include "refhost/loader/library_file.h"

namespace refhost {

namespace {

using NVEXTAL20::IPluginBasicQueryCallbacks;
using NVEXTAL20::IPluginCallbacks;

/// dlopen(3), through a type without `noexcept`: a load-time constructor may throw through it, although its declaration
/// denies that. Volatile, so that the compiler cannot see through the pointer.
void* (*const volatile openThatMayThrow)(const char* file, int mode) = &::dlopen;

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

/// The path for the linker, which searches its own folders for a name without a slash.
std::string existingFile(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        throw PluginError("cannot load the plug-in \"" + file + "\": " + std::strerror(errno),
                          "give the path of a plug-in library");
    if (S_ISDIR(status.st_mode))
        throw PluginError("cannot load the plug-in \"" + file + "\": it is a folder",
                          "give the path of a library in it");
    if (!S_ISREG(status.st_mode)) throw PluginError("cannot load the plug-in \"" + file + "\": it is no regular file");
    char* const resolved = ::realpath(file.c_str(), nullptr);
    if (resolved == nullptr) throw PluginError("cannot load the plug-in \"" + file + "\": " + std::strerror(errno));
    std::string path = resolved;
    std::free(resolved);
    const std::string obstacle = obstacleTo(path);
    if (!obstacle.empty()) throw PluginError("cannot load the plug-in \"" + file + "\": " + obstacle);
    return path;
}

/// The linker's message, without the file name that it begins with.
std::string linkerComplaint(const std::string& path) {
    const char* const said = ::dlerror();
    std::string text = said == nullptr ? "the dynamic linker gives no reason" : said;
    const std::string prefix = path + ": ";
    if (text.compare(0, prefix.size(), prefix) == 0) text.erase(0, prefix.size());
    return text;
}

[[noreturn]] void refuseOpening(const std::string& path) {
    const std::string complaint = linkerComplaint(path);
    const std::string subject = "cannot load the plug-in \"" + path + "\": ";
    if (contains(complaint, "undefined symbol"))
        throw PluginError(subject + complaint + "; it was built for another host or another version of this one");
    if (contains(complaint, "cannot open shared object file"))
        throw PluginError(subject + complaint + "; install the library that it needs");
    if (contains(complaint, "ELF") || contains(complaint, "file too short") || contains(complaint, "file data"))
        throw PluginError(subject + "it is not a shared library (" + complaint + ")", "give the path of one");
    throw PluginError(subject + complaint);
}

[[noreturn]] void refuseThrowing(const std::string& path, const std::string& text) {
    throw PluginError("the plug-in \"" + path + "\" failed while loading: " + text);
}

void* openLibrary(const std::string& path) {
    try {
        return callPlugin(
            "dlopen",
            [&] {
                return TraceArguments{{"file", path}};
            },
            [&] { return openThatMayThrow(path.c_str(), RTLD_NOW | RTLD_LOCAL); });
    } catch (const std::exception& failure) {
        refuseThrowing(path, failure.what());
    } catch (...) {
        refuseThrowing(path, "it threw something that is no std::exception");
    }
}

/// Runs a call that takes the plug-in out of service. Its exceptions are dropped: nothing can be done about them, and
/// the unloading must continue.
template <typename Work>
void callQuietly(const char* call, const Work& work) noexcept {
    try {
        callPlugin(call, noArguments, work);
    } catch (...) {
        return;
    }
}

}  // namespace

PluginLibrary::PluginLibrary(const std::string& file) {
    const std::string path = existingFile(file);
    if (void* const already = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
        (void)::dlclose(already);  // releases the reference that the check took
        throw PluginError("cannot load the plug-in \"" + path +
                              "\": it is already loaded in this process and registers only when it is loaded afresh",
                          "", PluginError::Step::kStillMapped);
    }
    handle = openLibrary(path);
    if (handle == nullptr) refuseOpening(path);
}

PluginLibrary::~PluginLibrary() { (void)::dlclose(handle); }  // if this fails, the library stays mapped: harmless

std::shared_ptr<LoadedPlugin> LoadedPlugin::load(const std::string& file) {
    LoadScope scope;
    auto library = std::make_unique<PluginLibrary>(file);  // when it throws, an entry it left behind is gone with it
    Registration registered = scope.take();
    if (!registered)
        throw PluginError("\"" + file + "\" is a shared library but registers no disk plug-in", "",
                          PluginError::Step::kRegistering);
    return std::make_shared<LoadedPlugin>(std::move(library), std::move(registered), file);
}

std::shared_ptr<LoadedPlugin> LoadedPlugin::adopt(Registration registered) {
    return std::make_shared<LoadedPlugin>(nullptr, std::move(registered), "");
}

LoadedPlugin::LoadedPlugin(std::unique_ptr<PluginLibrary> openLibrary, Registration registered, const std::string& file)
    : library(std::move(openLibrary)), registration(std::move(registered)) {
    IPluginCallbacks& entry = *registration->entry;
    const auto fail = [&](const std::string& text) {
        release(entry);
        throw PluginError("the plug-in \"" + file + "\" failed while starting: " + text, "",
                          PluginError::Step::kStarting);
    };
    try {
        known.file = file;
        known.type = callPlugin(
            "getType", noArguments, [&] { return entry.GetType(); },
            [](unsigned int type) { return TraceValue(std::uint64_t{type}); });
        known.name = callPlugin(
            "getName", noArguments, [&] { return entry.GetName(); }, AsItIs());
        known.version = callPlugin(
            "getVersion", noArguments, [&] { return entry.GetVersion(); }, AsItIs());
        known.interfaceVersion = callPlugin(
            "getInterfaceVersion", noArguments, [&] { return entry.GetInterfaceVersion(); }, AsItIs());
        queries = dynamic_cast<IPluginBasicQueryCallbacks*>(&entry);
        known.answersRequests = queries != nullptr;
        callPlugin("init", noArguments, [&] { entry.Init(); });
    } catch (const std::exception& failure) {
        fail(failure.what());
    } catch (...) {
        fail("it threw something that is no std::exception");
    }
}

LoadedPlugin::~LoadedPlugin() {
    IPluginCallbacks& entry = *registration->entry;
    callQuietly("deInit", [&] { entry.DeInit(); });
    release(entry);
}

void LoadedPlugin::release(IPluginCallbacks& entry) noexcept {
    callQuietly("prepareForUnload", [&] { entry.PrepareForUnload(); });
}

}  // namespace refhost
