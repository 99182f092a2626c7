// HostSession: a reference host with the test's entry object, so that a test can do inside a request what the plug-in
// does there. HostWithPlugin: the plug-in's entry object, registered in this process.
#pragma once

#include <boost/shared_ptr.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/property_map.h"
#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "refhost/api/reference_host.h"

namespace diskmgt_test {

/// A host that looks for no virtual devices on this machine and is named "server1".
refhost::HostOptions quietHost(std::vector<std::string> virtualDevices = {});

using Classes = std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>;
using RequestWork = std::function<void(boost::shared_ptr<NVEXTAL20::ICIMNamespace>, Classes&)>;

class HostSession {
public:
    explicit HostSession(refhost::HostOptions options = quietHost());
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;
    ~HostSession();

    /// Runs the work inside one request for these classes.
    refhost::RequestResult insideRequest(const std::vector<std::string>& classNames, RequestWork work);

    refhost::ReferenceHost host;

private:
    class Entry;
    RequestWork current;
};

class HostWithPlugin {
public:
    explicit HostWithPlugin(refhost::HostOptions options = quietHost());
    HostWithPlugin(const HostWithPlugin&) = delete;
    HostWithPlugin& operator=(const HostWithPlugin&) = delete;
    ~HostWithPlugin();

    refhost::ReferenceHost host;
};

/// The non-null properties of an instance by name, arrays joined by "|".
std::map<std::string, std::string> textsOf(const refhost::Instance& instance);
/// One property of every published instance of a class, in order; null ones as "(null)".
std::vector<std::string> column(const refhost::ReferenceHost& host, const std::string& className,
                                const std::string& property);
/// Severity and text of every line: "3 Partition information..".
std::vector<std::string> linesOf(const std::vector<refhost::LogLine>& log);
/// The call names of the entries that the plug-in made, in order.
std::vector<std::string> callsByPlugin(const std::vector<refhost::TraceEntry>& trace);
/// The number of the n-th crossing of that name, for `FaultPlan::crossing`; 0 when there are fewer.
std::size_t crossingOf(const std::vector<refhost::TraceEntry>& trace, const std::string& call, int n = 1);

}  // namespace diskmgt_test
