// Publishing whole instances, keys included, for stand-ins that are wrong in one place only.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/plugins/test_plugin.h"

namespace test_plugin {

using Texts = std::vector<std::pair<std::string, std::string>>;
using NameSpace = boost::shared_ptr<NVEXTAL20::ICIMNamespace>;

/// A new instance with these values, each of its property's type; not published yet.
inline boost::shared_ptr<NVEXTAL20::ICIMInstance> made(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace,
                                                       const Texts& texts) {
    NVEXTAL20::TCIMOptions options;
    auto instance = cls.CreateInstance(options);
    if (!instance) throw std::runtime_error("the host makes no instance");
    for (const auto& [name, value] : texts) {
        std::string text = value;
        const std::string type = instance->GetProperty(name, options)->GetType(options).ToString();
        NVEXTAL20::TCIMValue converted(NVEXTAL20::TCIMValue::TCIMType(type), text, nameSpace);
        instance->SetProperty(name, converted, options);
    }
    return instance;
}

inline void publish(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace, const Texts& texts) {
    made(cls, nameSpace, texts)->AddToClass({});
}

/// The keys of a drive, and its size.
inline Texts drive(const std::string& device, const std::string& size = "4096") {
    return {{"SystemCreationClassName", "VEXSG_ComputerSystem"},
            {"SystemName", "here"},
            {"CreationClassName", "VEXSG_DiskDrive"},
            {"DeviceID", device},
            {"Size", size}};
}

/// Serves drives, and nothing else.
class DrivePlugin : public TestPlugin {
public:
    void GetData(NameSpace nameSpace, Classes& classes) override {
        for (const auto& cls : classes)
            if (nameOf(*cls) == "VEXSG_DiskDrive") serveDrives(*cls, nameSpace);
    }

private:
    virtual void serveDrives(NVEXTAL20::ICIMClass& cls, const NameSpace& nameSpace) = 0;
};

}  // namespace test_plugin
