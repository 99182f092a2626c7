// The declared classes with their inheritance, found by names without case.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt::serve {

struct CimClass {
    const refhost::ClassDeclaration* declaration = nullptr;
    std::size_t index = 0;  // in declaration order
    const CimClass* superclass = nullptr;
    std::vector<const CimClass*> children;                        // directly beneath, in declaration order
    std::vector<const CimClass*> family;                          // itself and all beneath, in declaration order
    std::vector<const refhost::PropertyDeclaration*> keys;        // names in byte order
    std::vector<const refhost::PropertyDeclaration*> references;  // only associations have some

    const std::string& name() const { return declaration->name; }
    bool isOrLiesBeneath(const CimClass& other) const;
    /// Null when the class has no such property.
    const refhost::PropertyDeclaration* findProperty(std::string_view propertyName) const;
};

/// Never changes once made.
class ClassTree {
public:
    /// The declarations must outlive the tree.
    explicit ClassTree(const std::vector<refhost::ClassDeclaration>& declarations);
    ClassTree(const ClassTree&) = delete;
    ClassTree& operator=(const ClassTree&) = delete;

    const std::vector<CimClass>& classes() const { return all; }
    /// Null when there is no such class.
    const CimClass* find(std::string_view name) const;

private:
    std::vector<CimClass> all;
    std::unordered_map<std::string, const CimClass*> byName;  // folded
};

}  // namespace diskmgt::serve
