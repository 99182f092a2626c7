#include "serve/cimxml/class_tree.h"

#include <algorithm>

#include "serve/cimxml/names.h"

namespace diskmgt::serve {

bool CimClass::isOrLiesBeneath(const CimClass& other) const {
    const CimClass* at = this;
    while (at != nullptr && at != &other) at = at->superclass;
    return at != nullptr;
}

const refhost::PropertyDeclaration* CimClass::findProperty(std::string_view propertyName) const {
    for (const refhost::PropertyDeclaration& property : declaration->properties)
        if (sameName(property.name, propertyName)) return &property;
    return nullptr;
}

ClassTree::ClassTree(const std::vector<refhost::ClassDeclaration>& declarations) {
    all.resize(declarations.size());  // classes point at each other, so they must not move from here on
    for (std::size_t i = 0; i < declarations.size(); ++i) {
        CimClass& one = all[i];
        one.declaration = &declarations[i];
        one.index = i;
        for (const refhost::PropertyDeclaration& property : declarations[i].properties) {
            if (property.isKey) one.keys.push_back(&property);
            if (property.type == "reference") one.references.push_back(&property);
        }
        std::sort(one.keys.begin(), one.keys.end(),
                  [](const auto* left, const auto* right) { return left->name < right->name; });
        byName.emplace(foldedName(declarations[i].name), &one);
    }
    // A superclass is declared before what lies beneath it, so there is no circle.
    for (CimClass& one : all) {
        const CimClass* const above = one.declaration->superclass.empty() ? nullptr : find(one.declaration->superclass);
        if (above == nullptr || above->index >= one.index) continue;
        one.superclass = above;
        all[above->index].children.push_back(&one);
    }
    for (const CimClass& one : all)
        for (const CimClass* above = &one; above != nullptr; above = above->superclass)
            all[above->index].family.push_back(&one);
}

const CimClass* ClassTree::find(std::string_view name) const {
    const auto found = byName.find(foldedName(name));
    return found == byName.end() ? nullptr : found->second;
}

}  // namespace diskmgt::serve
