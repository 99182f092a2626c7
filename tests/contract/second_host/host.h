// The second host's services: registration, log, and a record of all calls. A test can refuse any call. It shares with
// the reference host only the headers of the host interface.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/tal_api.h"

namespace second_host {

/// One call of the plug-in, as it arrived.
struct Call {
    std::string operation;                       // its name in the host interface
    std::string className;                       // of the object that was called; empty where it has none
    std::string argument;                        // property name, class name, flag, ...
    std::map<std::string, std::string> options;  // texts of the options map, before the host wrote into it
};

struct LogLine {
    int severity;
    std::string text;
    bool operator==(const LogLine& other) const { return severity == other.severity && text == other.text; }
};

/// How a call fails.
enum class Refusal {
    kNone,
    kNull,  // for operations that return a pointer; others go on as usual
    kTalException,
    kStandardException,
    kForeignException,  // an int
    kThreadExit,        // the calling thread ends and its stack is unwound
    kThreadCancelled,
};

/// The text of every exception that a refusal raises.
constexpr const char* kRefusalText = "the second host refuses";

enum class PluginManager { kPresent, kNone, kForeign };  // foreign: a namespace, but no plug-in manager

/// What the host offers. Set before the plug-in is loaded.
struct Services {
    PluginManager pluginManager = PluginManager::kPresent;
    bool hasLogger = true;
    bool acceptsPlugins = true;                                        // false: registration answers null
    std::function<void(NVEXTAL20::IPluginCallbacks&)> onRegistration;  // its exceptions pass out of the registration
    bool knowsItsSystem = true;                                        // false: the schema helpers throw
    std::vector<std::string> virtualDevices;                           // of the management controller
    std::string systemName = "second.example";
    std::string systemClassName = "VEXSG_SecondSystem";
};

/// One may exist at a time: the static services answer from it. Calls may come from several threads.
class TAL_API SecondHost {
public:
    explicit SecondHost(Services offered = {});
    SecondHost(const SecondHost&) = delete;
    SecondHost& operator=(const SecondHost&) = delete;
    ~SecondHost();

    /// The current host.
    static SecondHost& current();

    /// Applies the rule to every later call; an empty rule refuses nothing.
    void refuse(std::function<Refusal(const Call&)> newRule);
    /// Records the call. Throws if it is to be refused with an exception; true: return null.
    bool isAnsweredNull(Call call);
    void writeLog(int severity, const std::string& text);
    /// Makes the plug-in's handle, or null.
    NVEXTAL20::TPluginManagerProvider* registerPlugin(NVEXTAL20::IPluginCallbacks* entry);

    const Services& offers() const { return services; }
    /// The registered entry object, owned by the host; null before registration and after `forgetPlugin`.
    NVEXTAL20::IPluginCallbacks* plugin() const { return registered; }
    /// The result of the registration.
    NVEXTAL20::TPluginManagerProvider* handle() const { return issued; }
    void forgetPlugin() { registered = nullptr; }

    std::vector<LogLine> log() const;
    std::vector<Call> calls() const;
    /// Empties the log and the record of calls.
    void clearRecords();

private:
    const Services services;
    NVEXTAL20::IPluginCallbacks* registered = nullptr;
    NVEXTAL20::TPluginManagerProvider* issued = nullptr;
    mutable std::mutex guard;  // guards the members that follow
    std::function<Refusal(const Call&)> rule;
    std::vector<LogLine> logged;
    std::vector<Call> received;
};

}  // namespace second_host
