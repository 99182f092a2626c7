// Assignment with the declared types enforced, lookup and commit.
#include "refhost/model/instance_object.h"

#include <boost/make_shared.hpp>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/boundary/request_scope.h"
#include "refhost/boundary/traced_value.h"
#include "refhost/value/object_path.h"

namespace refhost {

using NVEXTAL20::ICIMProperty;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMReference;
using NVEXTAL20::TCIMValue;
using NVEXTAL20::TTALException;

namespace {

std::string kindText(const std::string& type, bool isArray) { return isArray ? "array of " + type : type; }

std::string shown(const TCIMValue::Content& value) {
    return "the " + kindText(nameOf(value.type), value.isArray()) + " \"" +
           std::string(TCIMValue(boost::make_shared<const TCIMValue::Content>(value))) + "\"";
}

}  // namespace

InstanceObject::InstanceObject(const DeclaredClass& declaredClass, boost::shared_ptr<const Schema> schemaInUse,
                               const boost::shared_ptr<InstanceStore>& home)
    : declared(declaredClass), schema(std::move(schemaInUse)), store(home), slots(declared.properties().size()) {
    propertyObjects.reserve(slots.size());
    for (std::size_t i = 0; i < slots.size(); ++i) propertyObjects.emplace_back(*this, i);
}

void InstanceObject::CommitToClass(TCIMOptions /*options*/) {
    cross(
        "commit",
        [&] {
            return TraceArguments{{"class", declared.name()}};
        },
        [&] { commit(); });
}

boost::shared_ptr<ICIMProperty> InstanceObject::GetProperty(const std::string& name, TCIMOptions& /*options*/) {
    return crossToPointer(
        "getProperty",
        [&] {
            return TraceArguments{{"class", declared.name()}, {"name", name}};
        },
        [&] { return boost::shared_ptr<ICIMProperty>(shared_from_this(), &propertyObjects[positionOf(name)]); },
        [&](const auto&) { return name; });
}

void InstanceObject::SetProperty(const std::string& name, TCIMValue& newValue, TCIMOptions& /*options*/) {
    cross(
        "setProperty",
        [&] {
            return TraceArguments{
                {"class", declared.name()}, {"name", name}, {"value", tracedValue(newValue.content())}};
        },
        [&] { assign(name, newValue.content()); });
}

TCIMReference InstanceObject::GetReference(TCIMOptions& /*options*/) {
    return cross(
        "getReference",
        [&] {
            return TraceArguments{{"class", declared.name()}};
        },
        [&] { return TCIMReference(boost::make_shared<const TCIMReference::Content>(path())); },
        [](const TCIMReference& reference) { return TraceValue(reference.content()->path); });
}

std::size_t InstanceObject::positionOf(const std::string& name) const {
    const std::size_t last = lastFound.load(std::memory_order_relaxed);
    if (last < slots.size() && declared.properties()[last].declaration->name == name) return last;
    const std::optional<std::size_t> position = declared.findProperty(name);
    if (!position) throw TTALException("the class " + declared.name() + " declares no property \"" + name + "\"");
    lastFound.store(*position, std::memory_order_relaxed);
    return *position;
}

ValuePointer InstanceObject::value(std::size_t position) const {
    const std::lock_guard<std::mutex> guard(mutex);
    return slots[position];
}

std::string InstanceObject::path() const {
    std::string text = declared.name();
    char separator = '.';
    const std::lock_guard<std::mutex> guard(mutex);
    for (const std::size_t key : declared.keys()) {
        if (!slots[key]) continue;
        text += separator;
        text += declared.properties()[key].declaration->name;
        text += '=';
        appendQuoted(text, slots[key]->text());
        separator = ',';
    }
    return text;
}

void InstanceObject::checkFit(const DeclaredProperty& property, const TCIMValue::Content& newValue) const {
    const PropertyDeclaration& wanted = *property.declaration;
    const auto refuse = [&](const std::string& why) {
        throw TTALException("the property " + wanted.name + " of " + declared.name() + " cannot take " +
                            shown(newValue) + ": " + why);
    };
    if (newValue.type != property.type || newValue.isArray() != wanted.isArray)
        refuse("it is declared as " + kindText(wanted.type, wanted.isArray));
    if (property.type != CimType::kReference || newValue.isArray()) return;
    const auto& reference = std::get<TCIMValue::Content::Reference>(newValue.held);
    const DeclaredClass* const named = schema->find(reference->className());
    if (named == nullptr || !named->isOrLiesBeneath(*property.referenceClass))
        refuse("it must name an instance of " + wanted.referenceClass + " or of a class beneath it");
}

void InstanceObject::assign(const std::string& name, const ValuePointer& newValue) {
    const std::size_t position = positionOf(name);
    if (newValue) checkFit(declared.properties()[position], *newValue);
    ValuePointer replaced = newValue;  // freed after the lock is released
    const std::lock_guard<std::mutex> guard(mutex);
    slots[position].swap(replaced);
}

void InstanceObject::commit() {
    const boost::shared_ptr<InstanceStore> home = store.lock();
    if (!home) throw TTALException("the instance of " + declared.name() + " cannot be committed: its host is gone");
    {
        const std::lock_guard<std::mutex> guard(mutex);
        if (committed) throw TTALException("the instance of " + declared.name() + " is committed already");
        committed = true;
    }
    home->publish(shared_from_this(), RequestScope::currentNumber());
}

}  // namespace refhost
