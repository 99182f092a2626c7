#include "plugin/entry/disk_mgt_callbacks.h"

#include <boost/pointer_cast.hpp>
#include <stdexcept>

#include "plugin/host/root_object.h"
#include "plugin/log/log_message.h"
#include "provider/hardware_associations.h"
#include "provider/hardware_information.h"

namespace diskmgt_col {

namespace {

bool isAssociation(NVEXTAL20::ICIMClass& cls) {
    NVEXTAL20::TCIMOptions options;
    return cls.IsAssociation(options);
}

}  // namespace

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::TPluginManagerNamespace;

TDiskMgtCallbacks::TDiskMgtCallbacks() {
    const auto manager =
        boost::dynamic_pointer_cast<TPluginManagerNamespace>(NVEXTAL20::TRootObject::GetPluginManager());
    // Without a manager the plug-in stays unregistered and logs nothing.
    if (manager != nullptr) pluginInstance = manager->RegisterPlugin(this);
    LogMessage::setPluginInstance(pluginInstance);
    log = LogMessage::getInstance();
}

unsigned int TDiskMgtCallbacks::GetType() { return 0; }

std::string TDiskMgtCallbacks::GetName() { return "Disk Management Information Collector"; }

std::string TDiskMgtCallbacks::GetVersion() { return "1.0"; }

std::string TDiskMgtCallbacks::GetInterfaceVersion() { return "1.0"; }

void TDiskMgtCallbacks::PrepareForUnload() { delete this; }

void TDiskMgtCallbacks::Init() {}

void TDiskMgtCallbacks::DeInit() {}

void TDiskMgtCallbacks::GetData(boost::shared_ptr<ICIMNamespace> nameSpace,
                                std::vector<boost::shared_ptr<ICIMClass>>& classes) {
    HardwareInformation instances(nameSpace);
    HardwareAssociations associations(nameSpace);
    for (const boost::shared_ptr<ICIMClass>& cls : classes) {
        if (cls == nullptr) throw std::runtime_error("the host requested a null class");
        if (isAssociation(*cls)) {
            (void)associations.associate(cls);
        } else {
            (void)instances.enumerateInstances(cls);
        }
    }
}

}  // namespace diskmgt_col
