// ScriptedInstance: an instance whose answers the test scripts, and the class that creates it.
#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include "plugin/host/cim_model.h"
#include "tests/support/renamed_class.h"

namespace diskmgt_test {

class ScriptedInstance final : public NVEXTAL20::ICIMInstance {
public:
    void CommitToClass(NVEXTAL20::TCIMOptions /*options*/) override { onCommit(); }
    boost::shared_ptr<NVEXTAL20::ICIMProperty> GetProperty(const std::string& name,
                                                           NVEXTAL20::TCIMOptions& /*options*/) override {
        return onGetProperty(name);
    }
    void SetProperty(const std::string& /*name*/, NVEXTAL20::TCIMValue& /*value*/,
                     NVEXTAL20::TCIMOptions& /*options*/) override {}
    NVEXTAL20::TCIMReference GetReference(NVEXTAL20::TCIMOptions& /*options*/) override {
        throw std::logic_error("a scripted instance has no path");
    }

    std::function<void()> onCommit = [] {};
    std::function<boost::shared_ptr<NVEXTAL20::ICIMProperty>(const std::string&)> onGetProperty =
        [](const std::string&) { return nullptr; };
};

/// A class of the host whose instances the test creates.
class ScriptedClass final : public RenamedClass {
public:
    ScriptedClass(boost::shared_ptr<NVEXTAL20::ICIMClass> original, std::string newName,
                  std::function<boost::shared_ptr<NVEXTAL20::ICIMInstance>()> creation)
        : RenamedClass(std::move(original), std::move(newName)), onCreation(std::move(creation)) {}

    boost::shared_ptr<NVEXTAL20::ICIMInstance> CreateInstance(NVEXTAL20::TCIMOptions& /*options*/) override {
        return onCreation();
    }

private:
    const std::function<boost::shared_ptr<NVEXTAL20::ICIMInstance>()> onCreation;
};

}  // namespace diskmgt_test
