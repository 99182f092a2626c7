#include "serve/cimxml/parameters.h"

#include <algorithm>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/key_identity.h"
#include "serve/cimxml/names.h"

namespace diskmgt::serve {

namespace {

using Kind = CimParameter::Kind;

[[noreturn]] void refuse(const std::string& why) { throw CimFailure(CimStatus::kInvalidParameter, why); }

[[noreturn]] void refuseKind(const char* name, const char* wanted) {
    refuse(std::string("The parameter ") + name + " takes " + wanted + ".");
}

}  // namespace

PropertyFilter::PropertyFilter(const std::vector<std::string>& names) : wantsAll(false) {
    for (const std::string& name : names) wanted.insert(foldedName(name));
}

bool PropertyFilter::wants(const std::string& propertyName) const {
    return wantsAll || wanted.count(foldedName(propertyName)) != 0;
}

Parameters::Parameters(const CimCall& given, std::initializer_list<const char*> known) : call(given) {
    std::unordered_set<std::string> seen;
    for (const CimParameter& parameter : call.parameters) {
        const bool isKnown =
            std::any_of(known.begin(), known.end(), [&](const char* name) { return sameName(name, parameter.name); });
        if (!isKnown) refuse(call.method + " has no parameter " + quotedForClient(parameter.name) + ".");
        if (!seen.insert(foldedName(parameter.name)).second)
            refuse("The parameter " + parameter.name + " is given twice.");
    }
}

const CimParameter* Parameters::find(const char* name) const {
    for (const CimParameter& parameter : call.parameters)
        if (sameName(parameter.name, name)) return parameter.kind == Kind::kNull ? nullptr : &parameter;
    return nullptr;
}

bool Parameters::truth(const char* name, bool otherwise) const {
    const CimParameter* const found = find(name);
    if (found == nullptr) return otherwise;
    if (found->kind == Kind::kValue && sameName(found->values.front(), "true")) return true;
    if (found->kind == Kind::kValue && sameName(found->values.front(), "false")) return false;
    refuseKind(name, "TRUE or FALSE");
}

std::optional<std::string> Parameters::text(const char* name) const {
    const CimParameter* const found = find(name);
    if (found == nullptr) return std::nullopt;
    if (found->kind != Kind::kValue) refuseKind(name, "a text");
    return found->values.front();
}

std::optional<std::string> Parameters::className(const char* name) const {
    const CimParameter* const found = find(name);
    if (found == nullptr) return std::nullopt;
    if (found->kind != Kind::kClass) refuseKind(name, "the name of a class");
    checkNamespace(found->object.nameSpace);
    if (found->object.className.empty()) return std::nullopt;
    return found->object.className;
}

std::string Parameters::neededClassName(const char* name) const {
    auto found = className(name);
    if (!found) refuse(std::string("The parameter ") + name + " is missing.");
    return *std::move(found);
}

const InstanceName& Parameters::neededInstance(const char* name) const {
    const CimParameter* const found = find(name);
    if (found == nullptr) refuse(std::string("The parameter ") + name + " is missing.");
    if (found->kind != Kind::kInstance) refuseKind(name, "the name of an instance");
    return found->object;
}

const InstanceName& Parameters::neededObject(const char* name) const {
    const CimParameter* const found = find(name);
    if (found == nullptr) refuse(std::string("The parameter ") + name + " is missing.");
    if (found->kind != Kind::kInstance && found->kind != Kind::kClass)
        refuseKind(name, "the name of an instance or of a class");
    return found->object;
}

bool Parameters::isClass(const char* name) const {
    const CimParameter* const found = find(name);
    return found != nullptr && found->kind == Kind::kClass;
}

PropertyFilter Parameters::propertyList() const {
    const CimParameter* const found = find("PropertyList");
    if (found == nullptr) return {};
    if (found->kind != Kind::kArray) refuseKind("PropertyList", "a list of names");
    return PropertyFilter(found->values);
}

}  // namespace diskmgt::serve
