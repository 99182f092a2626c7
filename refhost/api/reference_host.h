// The reference host as its users see it: load a plug-in, request classes, read back what was published.
// The one header of the host that others include.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "plugin/host/tal_api.h"

namespace refhost {

/// The file cannot be loaded, is not a plug-in, or throws while loading. `what()` is one sentence for people: the
/// reason, and the advice behind a semicolon.
class TAL_API PluginError : public std::runtime_error {
public:
    /// How far the plug-in came.
    enum class Step {
        kOpening,      // no library was opened, or opening it threw
        kStillMapped,  // the library is in the process already and would not register again
        kRegistering,  // it was opened and registered no entry
        kStarting,     // the entry threw when it was asked who it is, or initialised
    };

    explicit PluginError(const std::string& reason, const std::string& advice = "", Step failedAt = Step::kOpening);
    ~PluginError() override;

    const std::string& reason() const { return why; }
    /// What to do, such as "give the path of a plug-in library"; empty when the reason alone says it.
    const std::string& advice() const { return whatToDo; }
    Step step() const { return reached; }

private:
    std::string why;
    std::string whatToDo;
    Step reached;
};

/// A further schema text cannot be used. `what()` names the text, the line and what is wrong.
class TAL_API SchemaError : public std::runtime_error {
public:
    explicit SchemaError(const std::string& sentence);
    ~SchemaError() override;
};

/// A declared property. Lives as long as the host.
struct PropertyDeclaration {
    std::string name;
    std::string type;  // lower-case MOF word; "reference" for a reference
    bool isArray = false;
    bool isKey = false;
    std::string referenceClass;  // for a reference: it must name this class or one beneath it
    std::string declaredIn;      // the class whose declaration counts: the most derived one
    std::string unit;            // empty: none
    std::string description;     // empty: none
    std::vector<std::pair<std::string, std::string>> valueNames;  // ValueMap and Values, in order
};

/// A declared class. Lives as long as the host.
struct ClassDeclaration {
    std::string name;
    std::string superclass;  // empty: a root of the tree
    bool isAbstract = false;
    bool isAssociation = false;
    bool isBuiltIn = false;   // false: one of `HostOptions::schemaTexts` declares it
    std::string version;      // empty: none
    std::string description;  // empty: none
    /// Inherited ones included; those of the most derived class first, in declaration order.
    std::vector<PropertyDeclaration> properties;
};

/// One property of a published instance, as a copy.
struct PropertyValue {
    const PropertyDeclaration* declaration = nullptr;
    bool isNull = true;
    /// Canonical texts: one for a scalar, any number for an array, none for null. Integers are plain decimal,
    /// booleans "true" or "false", references object paths.
    std::vector<std::string> elements;
};

/// One published instance, as a copy.
struct Instance {
    std::string className;
    std::string path;                       // keys in byte order; null keys left out
    std::vector<PropertyValue> properties;  // every declared property, in the order of ClassDeclaration::properties
};

struct LogLine {
    int severity = 0;  // 0 error, 1 warning, 2 status, 3 debug, 4 verbose
    std::string text;
};

/// Takes a log line, on the thread that logged it. Calls never overlap; they must not throw or use the host.
using LogSink = std::function<void(const LogLine& line)>;

struct PluginIdentity {
    std::string file;
    std::string name;
    std::string version;
    std::string interfaceVersion;
    unsigned int type = 0;
    bool answersRequests = false;  // its entry offers the data request
};

struct RequestResult {
    std::vector<LogLine> log;            // what was logged during the request, in order
    std::optional<std::string> failure;  // the text of the exception that ended the request early
};

/// A traced value: null, boolean, number, text or list of texts.
using TraceValue =
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, std::string, std::vector<std::string>>;

/// One crossing of the plug-in boundary.
struct TraceEntry {
    bool byPlugin = true;  // false: the host called the plug-in
    std::string call;
    std::vector<std::pair<std::string, TraceValue>> arguments;  // by name, in order
    std::optional<TraceValue> returns;                          // empty: no result, or the call threw
    std::optional<std::string> throws;                          // the exception's text
    int thread = 0;                                             // the kernel's number of the thread that crossed
};

enum class FaultKind {
    kTalException,
    kStandardException,  // std::runtime_error
    kForeignException,   // an int
    kNullResult,         // for operations that return a pointer; others go on as usual
};

/// Makes crossings by the plug-in fail.
struct FaultPlan {
    std::size_t crossing = 1;  // counted from 1 since `setFaultPlan`
    bool fromThenOn = false;   // and every later crossing
    FaultKind kind = FaultKind::kTalException;
};

/// Class and qualifier declarations in MOF. It may use the built-in schema and the texts before it. It may be hostile:
/// what would cost too much memory or time is refused.
struct SchemaText {
    static constexpr std::size_t kLongest = std::size_t{1} << 20U;  // bytes

    std::string name;  // in errors, such as the file's
    std::string text;
};

struct HostOptions {
    std::string systemName;                   // empty: the machine's host name
    std::vector<std::string> virtualDevices;  // besides those of the management controller
    bool discoverVirtualDevices = true;       // look in sysfs for those of the management controller
    /// Called with the name of each class that a request begins to ask the plug-in for, on the request's thread.
    std::function<void(const std::string& className)> whenServing = {};
    std::vector<SchemaText> schemaTexts = {};  // further classes, besides the built-in ones
    bool keepsLog = true;  // false: `log` stays empty, for a process that makes requests without end
};

/// A complete in-memory host with the one namespace root/cimv2. Only one may exist at a time in a process, because the
/// static services of the host interface answer from it. Requests may run on several threads at once.
class TAL_API ReferenceHost {
public:
    /// Throws `SchemaError` for a further schema text that cannot be used, and `std::logic_error` for a second host.
    explicit ReferenceHost(HostOptions options = {});
    ReferenceHost(const ReferenceHost&) = delete;
    ReferenceHost& operator=(const ReferenceHost&) = delete;
    /// Unloads every plug-in.
    ~ReferenceHost();

    static constexpr const char* kNamespace = "root/cimv2";

    /// Opens the library, which registers itself, and initialises it. Throws `PluginError`.
    PluginIdentity loadPlugin(const std::string& file);
    void unloadPlugins();
    std::vector<PluginIdentity> plugins() const;
    /// What plug-ins get when they ask for the management controller's disks: texts with a /dev path in each.
    std::vector<std::string> virtualDevices() const;

    /// Serves one request: drops the instances of the named classes, then hands the classes to every loaded
    /// plug-in at once. Throws `std::invalid_argument` for a class that the schema does not declare.
    RequestResult request(const std::vector<std::string>& classNames);
    /// The class that a running request last asked the plug-in for; empty when no request runs. Safe from any thread.
    std::string classBeingServed() const;

    /// The published instances of exactly this class, in the order committed.
    std::vector<Instance> instances(const std::string& className) const;
    /// Shows them one by one, so that the copies are never in memory together.
    void forEachInstance(const std::string& className, const std::function<void(const Instance&)>& show) const;
    /// Drops every published instance but the hosting system's.
    void clear();

    /// The declared classes, in declaration order.
    const std::vector<ClassDeclaration>& classes() const;
    /// Null when the schema declares no class of exactly that name.
    const ClassDeclaration* findClass(const std::string& name) const;
    /// The built-in schema as MOF text: the public base classes, then this project's own.
    static const char* baseMof();
    static const char* vendorMof();

    /// Everything logged since the host was made, outside requests too.
    std::vector<LogLine> log() const;
    /// Passes later log lines of this severity or a graver one to the sink too, unchanged: nothing is escaped. A
    /// negative severity or an empty sink stops this (the default).
    void forwardLog(int fromSeverity, LogSink sink = {});

    /// Starts recording crossings; costs nothing while off.
    void startTrace();
    /// Stops recording and hands the entries over, in the order the calls began.
    std::vector<TraceEntry> takeTrace();

    void setFaultPlan(const FaultPlan& plan);
    void clearFaultPlan();
    /// Crossings by the plug-in since `setFaultPlan`, or since the host was made. Requests that run at once may lose
    /// some while no plan is set.
    std::size_t crossings() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace refhost
