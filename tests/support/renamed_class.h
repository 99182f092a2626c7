// RenamedClass: a class of the host under another name, for names that the schema does not declare.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <utility>

#include "plugin/host/cim_model.h"

namespace diskmgt_test {

class RenamedClass : public NVEXTAL20::ICIMClass {
public:
    RenamedClass(boost::shared_ptr<NVEXTAL20::ICIMClass> original, std::string newName)
        : cls(std::move(original)), name(std::move(newName)) {}
    virtual ~RenamedClass() = default;

    std::string GetName(NVEXTAL20::TCIMOptions&) override { return name; }
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> GetNamespace(NVEXTAL20::TCIMOptions& options) override {
        return cls->GetNamespace(options);
    }
    bool IsAssociation(NVEXTAL20::TCIMOptions& options) override { return cls->IsAssociation(options); }
    boost::shared_ptr<NVEXTAL20::ICIMInstance> CreateInstance(NVEXTAL20::TCIMOptions& options) override {
        return cls->CreateInstance(options);
    }
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NVEXTAL20::ICIMInstance>)> callback, int flag,
                            NVEXTAL20::TCIMOptions& options) override {
        cls->EnumerateInstances(callback, flag, options);
    }

private:
    boost::shared_ptr<NVEXTAL20::ICIMClass> cls;
    std::string name;
};

}  // namespace diskmgt_test
