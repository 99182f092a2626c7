// The declared classes, resolved: with inheritance, name lookup and subclasses. Never changes once made.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "plugin/host/tal_api.h"
#include "refhost/api/reference_host.h"
#include "refhost/schema/mof_document.h"
#include "refhost/value/cim_type.h"

namespace refhost {

class DeclaredClass;

struct DeclaredProperty {
    const PropertyDeclaration* declaration = nullptr;
    CimType type = CimType::kString;
    const DeclaredClass* referenceClass = nullptr;  // for a reference
};

/// A class as the host works with it.
class TAL_API DeclaredClass {
public:
    DeclaredClass(const ClassDeclaration& classDeclaration, std::size_t positionInSchema);

    const ClassDeclaration& declaration() const { return *declared; }
    const std::string& name() const { return declared->name; }
    std::size_t index() const { return position; }
    /// In the order of `ClassDeclaration::properties`.
    const std::vector<DeclaredProperty>& properties() const { return propertyList; }
    /// The position of the property of exactly that name.
    std::optional<std::size_t> findProperty(std::string_view propertyName) const;
    /// The positions of the key properties, names in byte order.
    const std::vector<std::size_t>& keys() const { return keyPositions; }
    /// The class itself and every class beneath it, in declaration order.
    const std::vector<const DeclaredClass*>& family() const { return familyList; }
    bool isOrLiesBeneath(const DeclaredClass& other) const;

private:
    friend class Schema;

    struct NamedPosition {
        std::string_view name;  // owned by the declaration
        std::size_t position;
    };

    const ClassDeclaration* declared;
    std::size_t position;
    const DeclaredClass* superclass = nullptr;
    std::vector<DeclaredProperty> propertyList;
    std::vector<NamedPosition> byName;  // by length, then bytes: most comparisons end at the length
    std::vector<std::size_t> keyPositions;
    std::vector<const DeclaredClass*> familyList;
};

class TAL_API Schema {
public:
    /// Takes the documents in order; each may use those before it. Throws `TTALException` naming document, line and
    /// what is wrong.
    explicit Schema(const std::vector<MofDocument>& documents);
    Schema(const Schema&) = delete;
    Schema& operator=(const Schema&) = delete;

    const std::vector<ClassDeclaration>& classes() const { return declarations; }
    const std::vector<DeclaredClass>& declaredClasses() const { return resolved; }
    /// Null when no class has exactly that name.
    const DeclaredClass* find(std::string_view className) const;

private:
    std::vector<ClassDeclaration> declarations;
    std::vector<DeclaredClass> resolved;  // one for each declaration
    std::map<std::string, std::size_t, std::less<>> byName;
};

}  // namespace refhost
