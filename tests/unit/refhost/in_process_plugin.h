// A plug-in inside the test program. The test supplies what it does on a data request.
#pragma once

#include <gtest/gtest.h>

#include <boost/shared_ptr.hpp>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "plugin/host/plugin_manager.h"
#include "plugin/host/root_object.h"
#include "refhost/api/reference_host.h"

namespace refhost_test {

using Namespace = boost::shared_ptr<NVEXTAL20::ICIMNamespace>;
using Classes = std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>;
using Service = std::function<void(const Namespace&, Classes&)>;

class InProcessPlugin final : public NVEXTAL20::IPluginCallbacks, public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    /// Registers a new plug-in with the current host, which then owns it. True when it was accepted.
    static bool enter(Service service) {
        auto* const entry = new InProcessPlugin(std::move(service));
        auto* const manager =
            dynamic_cast<NVEXTAL20::TPluginManagerNamespace*>(NVEXTAL20::TRootObject::GetPluginManager().get());
        if (manager != nullptr && manager->RegisterPlugin(entry) != nullptr) return true;
        delete entry;
        return false;
    }

    unsigned int GetType() override { return 0; }
    std::string GetName() override { return "in-process"; }
    std::string GetVersion() override { return "1"; }
    std::string GetInterfaceVersion() override { return "1"; }
    void Init() override {}
    void DeInit() override {}
    void PrepareForUnload() override { delete this; }
    void GetData(Namespace nameSpace, Classes& classes) override { serve(nameSpace, classes); }

private:
    explicit InProcessPlugin(Service service) : serve(std::move(service)) {}
    Service serve;
};

/// `text` parsed as a value of `type`.
inline NVEXTAL20::TCIMValue parsed(const std::string& type, std::string text, const Namespace& nameSpace = {}) {
    return NVEXTAL20::TCIMValue(NVEXTAL20::TCIMValue::TCIMType(type), text, nameSpace);
}

/// A host whose plug-in runs the work of a test. The work runs within a request; an exception becomes the request's
/// failure.
class WithHost {
public:
    explicit WithHost(refhost::HostOptions options = {"testhost", {}, false}) : host(std::move(options)) {
        InProcessPlugin::enter([this](const Namespace& nameSpace, Classes& classes) {
            if (work) work(nameSpace, classes);
        });
    }

    refhost::RequestResult request(const std::vector<std::string>& names, Service serve) {
        work = std::move(serve);
        return host.request(names);
    }
    /// Runs work that needs the namespace alone. The text of what it threw, empty when it did not.
    std::string failureOf(const std::function<void(const Namespace&)>& inNamespace) {
        return request({}, [&](const Namespace& nameSpace, Classes&) { inNamespace(nameSpace); }).failure.value_or("");
    }

    /// Runs work that needs the namespace alone and has to succeed.
    void inRequest(const std::function<void(const Namespace&)>& inNamespace) { EXPECT_EQ(failureOf(inNamespace), ""); }

    refhost::ReferenceHost host;

private:
    Service work;
};

inline boost::shared_ptr<NVEXTAL20::ICIMClass> classNamed(const Namespace& nameSpace, const std::string& name) {
    NVEXTAL20::TCIMOptions options;
    return nameSpace->GetClass(name, options);
}

inline boost::shared_ptr<NVEXTAL20::ICIMInstance> newInstance(const Namespace& nameSpace,
                                                              const std::string& className) {
    NVEXTAL20::TCIMOptions options;
    return classNamed(nameSpace, className)->CreateInstance(options);
}

inline void assign(NVEXTAL20::ICIMInstance& instance, const std::string& name, NVEXTAL20::TCIMValue value) {
    NVEXTAL20::TCIMOptions options;
    instance.SetProperty(name, value, options);
}

inline NVEXTAL20::TCIMValue valueOf(NVEXTAL20::ICIMInstance& instance, const std::string& name) {
    NVEXTAL20::TCIMOptions options;
    return instance.GetProperty(name, options)->GetValue(options);
}

inline std::string pathOf(NVEXTAL20::ICIMInstance& instance) {
    NVEXTAL20::TCIMOptions options;
    NVEXTAL20::TCIMReference reference = instance.GetReference(options);
    return NVEXTAL20::TCIMValue(reference);
}

}  // namespace refhost_test
