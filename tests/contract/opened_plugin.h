// Loads the built plug-in library unchanged into the second host and requests classes from it.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>
#include <vector>

#include "plugin/host/cim_model.h"
#include "plugin/host/plugin_callbacks.h"
#include "tests/contract/second_host/host.h"
#include "tests/contract/second_host/model.h"
#include "tests/support/served_classes.h"

namespace contract {

using ClassList = std::vector<boost::shared_ptr<NVEXTAL20::ICIMClass>>;

class OpenedPlugin {
public:
    /// Opens the library, which registers with the current host. Throws `std::runtime_error` with the loader's
    /// text; exceptions of the registration pass.
    OpenedPlugin();
    OpenedPlugin(const OpenedPlugin&) = delete;
    OpenedPlugin& operator=(const OpenedPlugin&) = delete;
    ~OpenedPlugin() { unload(); }

    /// The registered object; there must be one.
    NVEXTAL20::IPluginCallbacks& entry() const;
    void getData(const boost::shared_ptr<NVEXTAL20::ICIMNamespace>& nameSpace, ClassList classes) const;
    /// The classes of those names, all in one request.
    void request(const boost::shared_ptr<second_host::Namespace>& nameSpace,
                 const std::vector<std::string>& classNames) const;
    /// Gives the entry object back, then closes the library. A second call does nothing.
    void unload();

private:
    void* library;
};

/// A host with the plug-in in it and an empty namespace; the members' order is that of their making.
struct Loaded {
    explicit Loaded(second_host::Services services = {}) : host(std::move(services)) {}

    void request(const std::vector<std::string>& classNames) { plugin.request(nameSpace, classNames); }
    /// The calls of one operation, in order.
    std::vector<second_host::Call> calls(const std::string& operation) const;

    second_host::SecondHost host;
    OpenedPlugin plugin;
    boost::shared_ptr<second_host::Namespace> nameSpace = second_host::Namespace::create();
};

/// The files of the loaded libraries whose name has this ending, with links resolved.
std::vector<std::string> mappedLibraries(const std::string& nameEnd);

using diskmgt_test::servedClasses;

}  // namespace contract
