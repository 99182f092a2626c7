// ReferenceHost: puts schema, model, services and plug-ins together.
#include "refhost/api/reference_host.h"

#include <sys/utsname.h>

#include <boost/make_shared.hpp>
#include <exception>
#include <mutex>

#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/boundary/request_scope.h"
#include "refhost/loader/loader.h"
#include "refhost/model/namespace_object.h"
#include "refhost/schema/mof_parser.h"
#include "refhost/schema/mof_texts.h"
#include "refhost/services/core_logger.h"
#include "refhost/services/plugin_manager.h"
#include "refhost/services/system_identity.h"
#include "refhost/services/virtual_devices.h"

namespace refhost {

namespace {

using PluginList = std::vector<std::shared_ptr<LoadedPlugin>>;

std::string machineName() {
    utsname names{};
    return ::uname(&names) == 0 ? names.nodename : "localhost";
}

/// The built-in classes and those of the texts.
boost::shared_ptr<const Schema> schemaWith(const std::vector<SchemaText>& texts) try {
    std::vector<MofDocument> documents;  // filled one by one: an initialiser list would be copied
    documents.push_back(parseMof(kBaseMof, "base.mof"));
    documents.push_back(parseMof(kVendorMof, "vexsg.mof"));
    for (MofDocument& one : documents) one.isBuiltIn = true;
    for (const SchemaText& further : texts) {
        if (further.text.size() > SchemaText::kLongest) throw SchemaError(further.name + " has more than 1 MiB");
        documents.push_back(parseMof(further.text, further.name));
    }
    return boost::make_shared<const Schema>(documents);
} catch (const NVEXTAL20::TTALException& refusal) {
    throw SchemaError(refusal.what());
}

/// Fills the copy from this instance, reusing its memory.
void fillIn(Instance& copy, const InstanceObject& published) {
    copy.className = published.declaredClass().name();
    copy.path = published.path();
    copy.properties.resize(published.declaredClass().properties().size());
    auto property = copy.properties.begin();
    published.forEachValue([&](const DeclaredProperty& declared, const ValuePointer& value) {
        property->declaration = declared.declaration;
        property->isNull = !value;
        if (!value) {
            property->elements.clear();
        } else if (const auto* const elements = value->elements()) {
            property->elements = *elements;
        } else {
            property->elements.resize(1);
            property->elements.front() = value->text();
        }
        ++property;
    });
}

/// The text of the exception that ended the call early.
template <typename Work>
std::optional<std::string> failureOf(const Work& work) {
    try {
        work();
        return std::nullopt;
    } catch (const std::exception& failure) {  // the host's own exceptions included
        return failure.what();
    } catch (...) {
        return "the plug-in threw something that is no std::exception";
    }
}

}  // namespace

PluginError::PluginError(const std::string& reason, const std::string& advice, Step failedAt)
    : std::runtime_error(advice.empty() ? reason : reason + "; " + advice),
      why(reason),
      whatToDo(advice),
      reached(failedAt) {}
PluginError::~PluginError() = default;

SchemaError::SchemaError(const std::string& sentence) : std::runtime_error(sentence) {}
SchemaError::~SchemaError() = default;

struct ReferenceHost::State {
    explicit State(const HostOptions& options)
        : schema(schemaWith(options.schemaTexts)),
          nameSpace(boost::make_shared<NamespaceObject>(schema)),
          manager(boost::make_shared<PluginManager>()),
          running(options.whenServing) {
        publishSystem(nameSpace, options.systemName.empty() ? machineName() : options.systemName);
    }

    /// Takes entries into service that the process itself registered.
    PluginList pluginsInService() {
        const std::lock_guard<std::mutex> guard(pluginMutex);
        for (Registration& registered : manager->takeUnloaded())
            plugins.push_back(LoadedPlugin::adopt(std::move(registered)));
        return plugins;
    }

    const DeclaredClass& require(const std::string& className) const {
        const DeclaredClass* const declared = schema->find(className);
        if (declared == nullptr) throw std::invalid_argument("the schema has no class \"" + className + "\"");
        return *declared;
    }

    boost::shared_ptr<const Schema> schema;
    boost::shared_ptr<NamespaceObject> nameSpace;
    boost::shared_ptr<PluginManager> manager;
    RunningRequests running;
    std::mutex pluginMutex;
    PluginList plugins;
};

ReferenceHost::ReferenceHost(HostOptions options) {
    static std::mutex birth;
    const std::lock_guard<std::mutex> guard(birth);
    if (PluginManager::current())
        throw std::logic_error("a reference host exists already; one may exist at a time in a process");
    state = std::make_unique<State>(options);
    Boundary::reset();
    CoreLogger::instance().open(options.keepsLog);
    setVirtualDevices({options.discoverVirtualDevices, std::move(options.virtualDevices)});
    PluginManager::setCurrent(state->manager);
}

ReferenceHost::~ReferenceHost() {
    unloadPlugins();
    for (const Registration& registered : state->manager->close()) LoadedPlugin::release(*registered->entry);
    PluginManager::setCurrent(nullptr);
    setVirtualDevices({});
    CoreLogger::instance().close();
    Boundary::reset();
}

PluginIdentity ReferenceHost::loadPlugin(const std::string& file) {
    const std::lock_guard<std::mutex> guard(state->pluginMutex);
    return state->plugins.emplace_back(LoadedPlugin::load(file))->identity();
}

void ReferenceHost::unloadPlugins() {
    PluginList leaving;
    {
        const std::lock_guard<std::mutex> guard(state->pluginMutex);
        leaving.swap(state->plugins);
    }
    for (const Registration& registered : state->manager->takeUnloaded()) LoadedPlugin::release(*registered->entry);
    while (!leaving.empty()) leaving.pop_back();  // last loaded first; one that serves is freed after its request
}

std::vector<PluginIdentity> ReferenceHost::plugins() const {
    const std::lock_guard<std::mutex> guard(state->pluginMutex);
    std::vector<PluginIdentity> identities;
    for (const auto& plugin : state->plugins) identities.push_back(plugin->identity());
    return identities;
}

std::vector<std::string> ReferenceHost::virtualDevices() const { return currentVirtualDevices(); }

RequestResult ReferenceHost::request(const std::vector<std::string>& classNames) {
    if (RequestScope::isRunning()) throw std::logic_error("a request cannot be made from within another one");
    std::vector<const DeclaredClass*> wanted;
    for (const std::string& name : classNames) wanted.push_back(&state->require(name));
    const PluginList serving = state->pluginsInService();

    RequestScope scope(state->running);
    state->nameSpace->store().beginRequest(scope.number(), wanted);
    RequestResult result;
    for (const auto& plugin : serving) {
        if (plugin->query() == nullptr) continue;
        std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>> classes;  // made anew: the plug-in may change the list
        for (const DeclaredClass* declared : wanted) classes.push_back(state->nameSpace->classObject(*declared));
        const std::optional<std::string> failure = failureOf([&] {
            callPlugin(
                "getData",
                [&] {
                    return TraceArguments{{"classes", classNames}};
                },
                [&] { plugin->query()->GetData(state->nameSpace, classes); });
        });
        if (failure) result.failure = result.failure ? *result.failure + "; " + *failure : *failure;
    }
    result.log = scope.takeLog();
    return result;
}

std::string ReferenceHost::classBeingServed() const { return state->running.lastServed(); }

std::vector<Instance> ReferenceHost::instances(const std::string& className) const {
    std::vector<Instance> copies;
    forEachInstance(className, [&copies](const Instance& copy) { copies.push_back(copy); });
    return copies;
}

void ReferenceHost::forEachInstance(const std::string& className,
                                    const std::function<void(const Instance&)>& show) const {
    Instance copy;
    if (const DeclaredClass* const declared = state->schema->find(className))
        for (const auto& published : state->nameSpace->store().instancesOf(*declared)) {
            fillIn(copy, *published);
            show(copy);
        }
}

void ReferenceHost::clear() { state->nameSpace->store().clear(); }

const std::vector<ClassDeclaration>& ReferenceHost::classes() const { return state->schema->classes(); }

const ClassDeclaration* ReferenceHost::findClass(const std::string& name) const {
    const DeclaredClass* const declared = state->schema->find(name);
    return declared == nullptr ? nullptr : &declared->declaration();
}

const char* ReferenceHost::baseMof() { return kBaseMof; }
const char* ReferenceHost::vendorMof() { return kVendorMof; }

std::vector<LogLine> ReferenceHost::log() const { return CoreLogger::instance().lines(); }
void ReferenceHost::forwardLog(int fromSeverity, LogSink sink) {
    CoreLogger::instance().forward(fromSeverity, std::move(sink));
}

void ReferenceHost::startTrace() { Boundary::startTrace(); }
std::vector<TraceEntry> ReferenceHost::takeTrace() { return Boundary::takeTrace(); }
void ReferenceHost::setFaultPlan(const FaultPlan& plan) { Boundary::setFaultPlan(plan); }
void ReferenceHost::clearFaultPlan() { Boundary::clearFaultPlan(); }
std::size_t ReferenceHost::crossings() const { return Boundary::crossings(); }

}  // namespace refhost
