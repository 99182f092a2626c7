#include "refhost/schema/schema.h"

#include <algorithm>

#include "refhost/schema/schema_builder.h"

namespace refhost {

namespace {

bool isShorterOrLess(std::string_view left, std::string_view right) {
    return left.size() != right.size() ? left.size() < right.size() : left < right;
}

}  // namespace

DeclaredClass::DeclaredClass(const ClassDeclaration& classDeclaration, std::size_t positionInSchema)
    : declared(&classDeclaration), position(positionInSchema) {
    byName.reserve(declared->properties.size());
    propertyList.reserve(declared->properties.size());
    for (const PropertyDeclaration& property : declared->properties) {
        byName.push_back({property.name, propertyList.size()});
        if (property.isKey) keyPositions.push_back(propertyList.size());
        propertyList.push_back({&property, cimTypeNamed(property.type).value(), nullptr});
    }
    std::sort(byName.begin(), byName.end(),
              [](const auto& left, const auto& right) { return isShorterOrLess(left.name, right.name); });
    std::sort(keyPositions.begin(), keyPositions.end(), [this](std::size_t left, std::size_t right) {
        return declared->properties[left].name < declared->properties[right].name;
    });
}

std::optional<std::size_t> DeclaredClass::findProperty(std::string_view propertyName) const {
    const auto found = std::lower_bound(
        byName.begin(), byName.end(), propertyName,
        [](const NamedPosition& one, std::string_view name) { return isShorterOrLess(one.name, name); });
    if (found == byName.end() || found->name != propertyName) return std::nullopt;
    return found->position;
}

bool DeclaredClass::isOrLiesBeneath(const DeclaredClass& other) const {
    const DeclaredClass* ancestor = this;
    while (ancestor != nullptr && ancestor != &other) ancestor = ancestor->superclass;
    return ancestor != nullptr;
}

Schema::Schema(const std::vector<MofDocument>& documents) : declarations(SchemaBuilder(documents).build()) {
    resolved.reserve(declarations.size());  // elements point into it
    for (const ClassDeclaration& declaration : declarations) {
        byName.emplace(declaration.name, resolved.size());
        resolved.emplace_back(declaration, resolved.size());
    }
    for (DeclaredClass& one : resolved) {
        if (!one.declared->superclass.empty()) one.superclass = find(one.declared->superclass);
        for (DeclaredProperty& property : one.propertyList)
            if (property.type == CimType::kReference)
                property.referenceClass = find(property.declaration->referenceClass);
    }
    for (const DeclaredClass& one : resolved) {
        resolved[one.position].familyList.push_back(&one);
        for (const DeclaredClass* ancestor = one.superclass; ancestor != nullptr; ancestor = ancestor->superclass)
            resolved[ancestor->position].familyList.push_back(&one);
    }
}

const DeclaredClass* Schema::find(std::string_view className) const {
    const auto found = byName.find(className);
    return found == byName.end() ? nullptr : &resolved[found->second];
}

}  // namespace refhost
