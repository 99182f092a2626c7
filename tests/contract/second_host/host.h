// The second host's services: registration, log, and a record of every call that reaches it, any of which a test may
// have refused. It shares no code with the reference host, only the headers of the host interface.
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
    std::string operation;                       // as the host interface names it
    std::string className;                       // of the object that was called; empty where it has none
    std::string argument;                        // property name, class name, flag, ...
    std::map<std::string, std::string> options;  // texts of the options map, before the host wrote into it
};

struct LogLine {
    int severity;
    std::string text;
    bool operator==(const LogLine& other) const { return severity == other.severity && text == other.text; }
};

/// What a call gets instead of what it asks for.
enum class Refusal {
    kNone,
    kNull,  // where the operation returns a pointer; elsewhere the call goes on unharmed
    kTalException,
    kStandardException,
    kForeignException,  // neither of the two; an int
    kThreadExit,        // the calling thread ends there, its stack unwound
    kThreadCancelled,
};

/// The text of every exception that a refusal raises.
constexpr const char* kRefusalText = "the second host refuses";

enum class PluginManager { kPresent, kNone, kForeign };  // foreign: a namespace, but no plug-in manager

/// What the host offers. To be settled before the plug-in is loaded.
struct Services {
    PluginManager pluginManager = PluginManager::kPresent;
    bool hasLogger = true;
    bool acceptsPlugins = true;                                        // false: registration answers null
    std::function<void(NVEXTAL20::IPluginCallbacks&)> onRegistration;  // its exceptions leave the registration
    bool knowsItsSystem = true;                                        // false: the schema helpers throw
    std::vector<std::string> virtualDevices;                           // of the management controller
    std::string systemName = "second.example";
    std::string systemClassName = "VEXSG_SecondSystem";
};

/// One may exist at a time; it is what the static services answer from. Calls may come from several threads.
class TAL_API SecondHost {
public:
    explicit SecondHost(Services offered = {});
    SecondHost(const SecondHost&) = delete;
    SecondHost& operator=(const SecondHost&) = delete;
    ~SecondHost();

    /// The one that exists.
    static SecondHost& current();

    /// Asks the rule about every later call; an empty rule refuses nothing.
    void refuse(std::function<Refusal(const Call&)> newRule);
    /// Records the call. Throws when it is refused that way; true: answer null.
    bool isAnsweredNull(Call call);
    void writeLog(int severity, const std::string& text);
    /// Makes the plug-in's handle, or null.
    NVEXTAL20::TPluginManagerProvider* registerPlugin(NVEXTAL20::IPluginCallbacks* entry);

    const Services& offers() const { return services; }
    /// The registered entry object, the host's own; null before registration and after `forgetPlugin`.
    NVEXTAL20::IPluginCallbacks* plugin() const { return registered; }
    /// What registration answered.
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
    mutable std::mutex guard;  // of all that follows
    std::function<Refusal(const Call&)> rule;
    std::vector<LogLine> logged;
    std::vector<Call> received;
};

}  // namespace second_host
