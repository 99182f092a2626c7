#include "tests/support/host_session.h"

#include <boost/pointer_cast.hpp>
#include <utility>

#include "plugin/entry/disk_mgt_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"
#include "plugin/log/log_message.h"

namespace diskmgt_test {

using diskmgt_col::LogMessage;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TPluginManagerNamespace;

/// Freed by the host, through PrepareForUnload.
class HostSession::Entry : public NVEXTAL20::IPluginCallbacks, public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    explicit Entry(RequestWork& sessionWork) : work(sessionWork) {}

    unsigned int GetType() override { return 0; }
    std::string GetName() override { return "Test"; }
    std::string GetVersion() override { return "1.0"; }
    std::string GetInterfaceVersion() override { return "1.0"; }
    void PrepareForUnload() override { delete this; }
    void Init() override {}
    void DeInit() override {}
    void GetData(boost::shared_ptr<ICIMNamespace> nameSpace, Classes& classes) override {
        work(std::move(nameSpace), classes);
    }

private:
    RequestWork& work;
};

refhost::HostOptions quietHost(std::vector<std::string> virtualDevices) {
    refhost::HostOptions options;
    options.systemName = "server1";
    options.virtualDevices = std::move(virtualDevices);
    options.discoverVirtualDevices = false;
    return options;
}

HostSession::HostSession(refhost::HostOptions options) : host(std::move(options)) {
    const auto manager =
        boost::dynamic_pointer_cast<TPluginManagerNamespace>(NVEXTAL20::TRootObject::GetPluginManager());
    LogMessage::setPluginInstance(manager->RegisterPlugin(new Entry(current)));
}

HostSession::~HostSession() { LogMessage::setPluginInstance(nullptr); }

refhost::RequestResult HostSession::insideRequest(const std::vector<std::string>& classNames, RequestWork work) {
    current = std::move(work);
    return host.request(classNames);
}

HostWithPlugin::HostWithPlugin(refhost::HostOptions options) : host(std::move(options)) {
    new diskmgt_col::TDiskMgtCallbacks;  // registers itself; the host's from here on
}

HostWithPlugin::~HostWithPlugin() { LogMessage::setPluginInstance(nullptr); }

std::map<std::string, std::string> textsOf(const refhost::Instance& instance) {
    std::map<std::string, std::string> texts;
    for (const refhost::PropertyValue& property : instance.properties) {
        if (property.isNull) continue;
        std::string text;
        for (const std::string& element : property.elements) text += (text.empty() ? "" : "|") + element;
        texts[property.declaration->name] = text;
    }
    return texts;
}

std::vector<std::string> column(const refhost::ReferenceHost& host, const std::string& className,
                                const std::string& property) {
    std::vector<std::string> values;
    for (const refhost::Instance& instance : host.instances(className)) {
        const auto texts = textsOf(instance);
        const auto found = texts.find(property);
        values.push_back(found == texts.end() ? "(null)" : found->second);
    }
    return values;
}

std::vector<std::string> linesOf(const std::vector<refhost::LogLine>& log) {
    std::vector<std::string> lines;
    for (const refhost::LogLine& line : log) lines.push_back(std::to_string(line.severity) + " " + line.text);
    return lines;
}

std::vector<std::string> callsByPlugin(const std::vector<refhost::TraceEntry>& trace) {
    std::vector<std::string> calls;
    for (const refhost::TraceEntry& entry : trace) {
        if (entry.byPlugin) calls.push_back(entry.call);
    }
    return calls;
}

std::size_t crossingOf(const std::vector<refhost::TraceEntry>& trace, const std::string& call, int n) {
    std::size_t crossing = 0;
    for (const std::string& made : callsByPlugin(trace)) {
        ++crossing;
        if (made == call && --n == 0) return crossing;
    }
    return 0;
}

}  // namespace diskmgt_test
