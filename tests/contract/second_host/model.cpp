#include "tests/contract/second_host/model.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "plugin/host/tal_exception.h"
#include "tests/contract/second_host/host.h"

namespace second_host {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::ICIMProperty;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMReference;
using NVEXTAL20::TCIMValue;
using NVEXTAL20::TTALException;

namespace {

/// Records a call, then writes into its options, so that a reused map shows on the next call.
bool isAnsweredNull(const char* operation, const std::string& className, const std::string& argument,
                    TCIMOptions& options) {
    Call call{operation, className, argument, {}};
    for (const auto& [name, value] : options) call.options.emplace(name, static_cast<std::string>(value));
    options.emplace("used", TCIMValue(std::string(operation)));
    return SecondHost::current().isAnsweredNull(std::move(call));
}

class Property final : public ICIMProperty {
public:
    Property(boost::shared_ptr<const Instance> ownInstance, const PropertyRow& declared)
        : instance(std::move(ownInstance)), row(&declared) {}

    TCIMValue::TCIMType GetType(TCIMOptions& options) override {
        (void)isAnsweredNull("GetType", instance->className(), row->name, options);
        return TCIMValue::TCIMType(boost::make_shared<TCIMValue::TCIMType::Content>(row->kind, row->isArray));
    }
    bool IsArray(TCIMOptions& options) override {
        (void)isAnsweredNull("IsArray", instance->className(), row->name, options);
        return row->isArray;
    }
    TCIMValue GetValue(TCIMOptions& options) override {
        (void)isAnsweredNull("GetValue", instance->className(), row->name, options);
        return instance->value(row->name);
    }

private:
    const boost::shared_ptr<const Instance> instance;
    const PropertyRow* const row;
};

}  // namespace

void Instance::CommitToClass(TCIMOptions options) {
    (void)isAnsweredNull("CommitToClass", className(), "", options);
    cls->commit(shared_from_this());
}

boost::shared_ptr<ICIMProperty> Instance::GetProperty(const std::string& name, TCIMOptions& options) {
    if (isAnsweredNull("GetProperty", className(), name, options)) return nullptr;
    return boost::make_shared<Property>(shared_from_this(), declaration(name));
}

void Instance::SetProperty(const std::string& name, TCIMValue& value, TCIMOptions& options) {
    (void)isAnsweredNull("SetProperty", className(), name, options);
    if (!fits(declaration(name), value)) throw TTALException("the value does not fit " + name);
    values.erase(name);  // this host never assigns to a value: all assignments are the plug-in's
    values.emplace(name, value);
}

TCIMReference Instance::GetReference(TCIMOptions& options) {
    (void)isAnsweredNull("GetReference", className(), "", options);
    return TCIMReference(boost::make_shared<TCIMReference::Content>(shared_from_this()));
}

const std::string& Instance::className() const { return cls->declared().name; }

TCIMValue Instance::value(const std::string& name) const {
    const auto found = values.find(name);
    return found == values.end() ? TCIMValue() : found->second;
}

std::optional<std::string> Instance::text(const std::string& name) const {
    const TCIMValue held = value(name);
    if (held.IsNull()) return std::nullopt;
    return static_cast<std::string>(held);
}

std::optional<std::vector<std::string>> Instance::elements(const std::string& name) const {
    const TCIMValue held = value(name);
    const Array* const array = held.IsNull() ? nullptr : std::get_if<Array>(&held.content()->held);
    if (array == nullptr) return std::nullopt;
    return std::vector<std::string>(array->elements.begin(), array->elements.end());
}

const ICIMInstance* Instance::referenced(const std::string& name) const {
    const TCIMValue held = value(name);
    const InstancePointer* const named = held.IsNull() ? nullptr : std::get_if<InstancePointer>(&held.content()->held);
    return named == nullptr ? nullptr : named->get();
}

std::map<std::string, std::string> Instance::texts() const {
    std::map<std::string, std::string> all;
    for (const auto& [name, held] : values) {
        if (held.content()->kind() != Kind::kReference) all.emplace(name, static_cast<std::string>(held));
    }
    return all;
}

void Instance::seed(const std::string& name, const std::string& text) {
    (void)declaration(name);
    values.erase(name);
    values.emplace(name, TCIMValue(text));
}

const PropertyRow& Instance::declaration(const std::string& name) const {
    for (const PropertyRow& row : cls->declared().properties) {
        if (row.name == name) return row;
    }
    throw TTALException(className() + " declares no " + name);
}

bool Instance::fits(const PropertyRow& row, const TCIMValue& value) const {
    if (value.IsNull()) return true;
    if (value.content()->kind() != row.kind || value.content()->isArray() != row.isArray) return false;
    if (row.kind != Kind::kReference) return true;
    const auto* const named = dynamic_cast<const Instance*>(std::get<InstancePointer>(value.content()->held).get());
    return named != nullptr && named->cls->isA(row.referenceClass);
}

std::string Class::GetName(TCIMOptions& options) {
    (void)isAnsweredNull("GetName", row->name, "", options);
    return row->name;
}

boost::shared_ptr<ICIMNamespace> Class::GetNamespace(TCIMOptions& options) {
    if (isAnsweredNull("GetNamespace", row->name, "", options)) return nullptr;
    return home->shared_from_this();
}

bool Class::IsAssociation(TCIMOptions& options) {
    (void)isAnsweredNull("IsAssociation", row->name, "", options);
    return row->isAssociation;
}

boost::shared_ptr<ICIMInstance> Class::CreateInstance(TCIMOptions& options) {
    if (isAnsweredNull("CreateInstance", row->name, "", options)) return nullptr;
    return boost::make_shared<Instance>(*this);
}

void Class::EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, int flag,
                               TCIMOptions& options) {
    const bool givesNull = isAnsweredNull("EnumerateInstances", row->name, std::to_string(flag), options);
    for (const boost::shared_ptr<Class>& candidate : home->all()) {
        const bool counts = flag == 1 ? candidate->isA(row->name) : candidate.get() == this;
        if (!counts) continue;
        for (const boost::shared_ptr<Instance>& instance : candidate->committed()) {
            if (!callback(givesNull ? nullptr : instance)) return;
        }
    }
}

void Class::commit(boost::shared_ptr<Instance> instance) {
    const std::lock_guard<std::mutex> lock(guard);
    instances.push_back(std::move(instance));
}

std::vector<boost::shared_ptr<Instance>> Class::committed() const {
    const std::lock_guard<std::mutex> lock(guard);
    return instances;
}

bool Class::isA(const std::string& ancestor) const {
    if (row->name == ancestor) return true;
    const boost::shared_ptr<Class> parent = home->find(row->parent);
    return parent != nullptr && parent->isA(ancestor);
}

boost::shared_ptr<Namespace> Namespace::create() {
    const auto made = boost::make_shared<Namespace>();
    for (const ClassRow& row : classTable()) made->classes.push_back(boost::make_shared<Class>(row, *made));
    return made;
}

boost::shared_ptr<ICIMClass> Namespace::GetClass(const std::string& className, TCIMOptions& options) {
    if (isAnsweredNull("GetClass", "", className, options)) return nullptr;
    const boost::shared_ptr<Class> found = find(className);
    if (found == nullptr) throw TTALException("no class is called " + className);
    return found;
}

boost::shared_ptr<Class> Namespace::find(const std::string& className) const {
    for (const boost::shared_ptr<Class>& candidate : classes) {
        if (candidate->declared().name == className) return candidate;
    }
    return nullptr;
}

std::vector<boost::shared_ptr<Instance>> Namespace::instances(const std::string& className) const {
    return find(className)->committed();
}

boost::shared_ptr<Instance> Namespace::seed(const std::string& className,
                                            const std::map<std::string, std::string>& texts) {
    const boost::shared_ptr<Class> cls = find(className);
    const auto made = boost::make_shared<Instance>(*cls);
    for (const auto& [name, text] : texts) made->seed(name, text);
    cls->commit(made);
    return made;
}

}  // namespace second_host
