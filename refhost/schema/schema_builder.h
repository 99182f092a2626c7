// Turns MOF documents into class declarations: checks them, applies inheritance and qualifiers.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "refhost/api/reference_host.h"
#include "refhost/schema/mof_document.h"
#include "refhost/schema/mof_names.h"

namespace refhost {

/// Used once. Every error is a `TTALException` that names document and line.
class SchemaBuilder {
public:
    explicit SchemaBuilder(const std::vector<MofDocument>& mofDocuments) : documents(mofDocuments) {}
    std::vector<ClassDeclaration> build();

private:
    /// A reference property, checked once all classes are known.
    struct Reference {
        const MofDocument* document;
        std::size_t line;
        std::size_t classPosition;
        std::size_t propertyPosition;
        std::string overridden;  // the class that the overridden property names; may be empty
    };

    [[noreturn]] void refuse(std::size_t line, const std::string& why) const;
    void addClass(const MofClass& written);
    void addProperty(const MofProperty& written, ClassDeclaration& declared);
    void checkOverride(const MofProperty& written, const PropertyDeclaration& inherited) const;
    void applyQualifiers(const MofProperty& written, PropertyDeclaration& declared) const;
    void applyValueNames(const MofProperty& written, PropertyDeclaration& declared) const;
    /// Checks the class that the reference names.
    void resolve(const Reference& reference);
    void countIn(const ClassDeclaration& declared, std::size_t line);
    /// Null when no class has that name. Case is ignored.
    const ClassDeclaration* findClass(std::string_view name) const;
    bool isOrLiesBeneath(const ClassDeclaration& one, const std::string& other) const;

    void requireDeclared(const std::vector<MofQualifier>& qualifiers) const;
    /// Null when the qualifier is absent.
    const MofQualifier* find(const std::vector<MofQualifier>& qualifiers, const char* lowerName) const;
    bool truth(const std::vector<MofQualifier>& qualifiers, const char* lowerName, bool otherwise) const;
    std::string text(const std::vector<MofQualifier>& qualifiers, const char* lowerName,
                     const std::string& otherwise) const;
    std::vector<std::string> texts(const MofQualifier& qualifier) const;

    const std::vector<MofDocument>& documents;
    const MofDocument* document = nullptr;  // the one being read
    std::set<std::string_view, NameLess> qualifierNames;
    std::map<std::string_view, std::size_t, NameLess> positions;  // of classes, by the documents' names
    std::vector<std::size_t> depths;                              // of classes in the tree, by position
    std::size_t propertyCount = 0;                                // of all classes, inherited ones included
    std::size_t textBytes = 0;                                    // of their properties
    std::vector<Reference> references;
    std::vector<ClassDeclaration> classes;
};

}  // namespace refhost
