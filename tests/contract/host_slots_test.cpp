// Slot order of the host's interfaces, as the headers give it to another host's implementation.
#include <gtest/gtest.h>

#include "plugin/host/cim_model.h"
#include "plugin/host/logger.h"
#include "plugin/host/plugin_callbacks.h"
#include "tests/contract/slots.h"

namespace contract {
namespace {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::ICIMProperty;
using NVEXTAL20::ILogger;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMReference;
using NVEXTAL20::TCIMValue;

// Each of these remembers the operation last called, counted from 0 as listed, and what it was called with.
// `afterLast` takes the first free slot of the interface.

class Logger final : public ILogger {
public:
    void Log(ETALLogSeverity severity, const std::string& text) override {
        called = 0;
        seen = std::to_string(severity) + text;
    }
    virtual void afterLast() {}
    int called = -1;
    std::string seen;
};

TEST(HostSlots, ALoggerHasLogAlone) {
    Logger logger;
    callSlot<void (ILogger::*)(ILogger::ETALLogSeverity, const std::string&)>(static_cast<ILogger&>(logger), 0, nullptr,
                                                                              ILogger::kVerbose, "text");
    EXPECT_EQ(logger.called, 0);
    EXPECT_EQ(logger.seen, "4text");
    EXPECT_EQ(slotOf(&Logger::afterLast), 1U);
}

class OneNamespace final : public ICIMNamespace {
public:
    boost::shared_ptr<ICIMClass> GetClass(const std::string& className, TCIMOptions&) override {
        called = 0;
        seen = className;
        return nullptr;
    }
    virtual void afterLast() {}
    int called = -1;
    std::string seen;
};

TEST(HostSlots, ANamespaceHasTheClassLookupAlone) {
    OneNamespace nameSpace;
    TCIMOptions options;
    const auto cls = callSlot<boost::shared_ptr<ICIMClass> (ICIMNamespace::*)(const std::string&, TCIMOptions&)>(
        static_cast<ICIMNamespace&>(nameSpace), 0, nullptr, "a class", options);
    EXPECT_EQ(cls, nullptr);
    EXPECT_EQ(nameSpace.called, 0);
    EXPECT_EQ(nameSpace.seen, "a class");
    EXPECT_EQ(slotOf(&OneNamespace::afterLast), 1U);
}

class OneClass final : public ICIMClass {
public:
    std::string GetName(TCIMOptions&) override {
        called = 0;
        return "its name";
    }
    boost::shared_ptr<ICIMNamespace> GetNamespace(TCIMOptions&) override {
        called = 1;
        return nullptr;
    }
    bool IsAssociation(TCIMOptions&) override {
        called = 2;
        return true;
    }
    boost::shared_ptr<ICIMInstance> CreateInstance(TCIMOptions&) override {
        called = 3;
        return nullptr;
    }
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, int flag,
                            TCIMOptions&) override {
        called = 4;
        seenFlag = flag;
        goesOn = callback(nullptr);
    }
    virtual void afterLast() {}
    int called = -1;
    int seenFlag = 0;
    bool goesOn = false;
};

TEST(HostSlots, AClassHasNameNamespaceAssociationCreationEnumeration) {
    OneClass implementation;
    ICIMClass& cls = implementation;
    TCIMOptions options;
    EXPECT_EQ((callSlot<std::string (ICIMClass::*)(TCIMOptions&)>(cls, 0, nullptr, options)), "its name");
    EXPECT_EQ(implementation.called, 0);
    (void)callSlot<boost::shared_ptr<ICIMNamespace> (ICIMClass::*)(TCIMOptions&)>(cls, 1, nullptr, options);
    EXPECT_EQ(implementation.called, 1);
    EXPECT_TRUE((callSlot<bool (ICIMClass::*)(TCIMOptions&)>(cls, 2, nullptr, options)));
    EXPECT_EQ(implementation.called, 2);
    (void)callSlot<boost::shared_ptr<ICIMInstance> (ICIMClass::*)(TCIMOptions&)>(cls, 3, nullptr, options);
    EXPECT_EQ(implementation.called, 3);
    using Callback = boost::function<bool(boost::shared_ptr<ICIMInstance>)>;
    callSlot<void (ICIMClass::*)(Callback, int, TCIMOptions&)>(
        cls, 4, nullptr, Callback([](const boost::shared_ptr<ICIMInstance>&) { return true; }), 1, options);
    EXPECT_EQ(implementation.called, 4);
    EXPECT_EQ(implementation.seenFlag, 1);
    EXPECT_TRUE(implementation.goesOn);
    EXPECT_EQ(slotOf(&OneClass::afterLast), 5U);
}

class OneInstance final : public ICIMInstance {
public:
    void CommitToClass(TCIMOptions options) override {
        called = 0;
        seen = std::to_string(options.size()) + " options";
        options.clear();
    }
    boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name, TCIMOptions&) override {
        called = 1;
        seen = name;
        return nullptr;
    }
    void SetProperty(const std::string& name, TCIMValue& value, TCIMOptions&) override {
        called = 2;
        seen = name + "=" + static_cast<std::string>(value);
    }
    TCIMReference GetReference(TCIMOptions&) override {
        called = 3;
        return TCIMReference(nullptr);
    }
    virtual void afterLast() {}
    int called = -1;
    std::string seen;
};

TEST(HostSlots, AnInstanceHasCommitLookupAssignmentThenItsOwnReference) {
    OneInstance implementation;
    ICIMInstance& instance = implementation;
    TCIMOptions options;
    callSlot<void (ICIMInstance::*)(TCIMOptions)>(instance, 0, nullptr, options);
    EXPECT_EQ(implementation.called, 0);
    (void)callSlot<boost::shared_ptr<ICIMProperty> (ICIMInstance::*)(const std::string&, TCIMOptions&)>(
        instance, 1, nullptr, "Name", options);
    EXPECT_EQ(implementation.called, 1);
    EXPECT_EQ(implementation.seen, "Name");
    TCIMValue value(std::string("/dev/sda"));
    callSlot<void (ICIMInstance::*)(const std::string&, TCIMValue&, TCIMOptions&)>(instance, 2, nullptr, "Name", value,
                                                                                   options);
    EXPECT_EQ(implementation.called, 2);
    EXPECT_EQ(implementation.seen, "Name=/dev/sda");
    (void)callSlot<TCIMReference (ICIMInstance::*)(TCIMOptions&)>(instance, 3, nullptr, options);
    EXPECT_EQ(implementation.called, 3);
    EXPECT_EQ(slotOf(&OneInstance::afterLast), 4U);
}

TEST(HostSlots, AddToClassCommitsWithACopyOfTheOptions) {
    OneInstance instance;
    TCIMOptions options = {{"kept", TCIMValue()}};
    instance.AddToClass(options);
    EXPECT_EQ(instance.called, 0);
    EXPECT_EQ(instance.seen, "1 options");
    EXPECT_EQ(options.size(), 1U);
}

class OneProperty final : public ICIMProperty {
public:
    TCIMValue::TCIMType GetType(TCIMOptions&) override {
        called = 0;
        return TCIMValue::TCIMType(std::string("uint64"));
    }
    bool IsArray(TCIMOptions&) override {
        called = 1;
        return true;
    }
    TCIMValue GetValue(TCIMOptions&) override {
        called = 2;
        return TCIMValue(std::string("the value"));
    }
    virtual void afterLast() {}
    int called = -1;
};

TEST(HostSlots, APropertyHasTypeArrayQueryValue) {
    OneProperty implementation;
    ICIMProperty& property = implementation;
    TCIMOptions options;
    const auto type = callSlot<TCIMValue::TCIMType (ICIMProperty::*)(TCIMOptions&)>(property, 0, nullptr, options);
    EXPECT_EQ(implementation.called, 0);
    EXPECT_EQ(type.ToString(), "uint64");
    EXPECT_TRUE((callSlot<bool (ICIMProperty::*)(TCIMOptions&)>(property, 1, nullptr, options)));
    EXPECT_EQ(implementation.called, 1);
    const TCIMValue value = callSlot<TCIMValue (ICIMProperty::*)(TCIMOptions&)>(property, 2, nullptr, options);
    EXPECT_EQ(implementation.called, 2);
    EXPECT_EQ(static_cast<std::string>(value), "the value");
    EXPECT_EQ(slotOf(&OneProperty::afterLast), 3U);
}

class AnyEntry : public NVEXTAL20::IPluginCallbacks {
public:
    virtual void afterLast() {}
};

class AnyQuery : public NVEXTAL20::IPluginBasicQueryCallbacks {
public:
    virtual void afterLast() {}
};

TEST(HostSlots, APluginsInterfacesBeginWithTheirDestructors) {
    using NVEXTAL20::IPluginBasicQueryCallbacks;
    using NVEXTAL20::IPluginCallbacks;
    EXPECT_EQ(slotOf(&IPluginCallbacks::GetType), 2U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::GetName), 3U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::GetVersion), 4U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::GetInterfaceVersion), 5U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::PrepareForUnload), 6U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::Init), 7U);
    EXPECT_EQ(slotOf(&IPluginCallbacks::DeInit), 8U);
    EXPECT_EQ(slotOf(&AnyEntry::afterLast), 9U);
    EXPECT_EQ(slotOf(&IPluginBasicQueryCallbacks::GetData), 2U);
    EXPECT_EQ(slotOf(&AnyQuery::afterLast), 3U);
}

}  // namespace
}  // namespace contract
