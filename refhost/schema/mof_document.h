// What a MOF text declares, as written: nothing is resolved or inherited yet.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace refhost {

struct MofLiteral {
    enum class Kind { kNull, kBoolean, kNumber, kString, kCharacter };
    Kind kind = Kind::kNull;
    std::string text;  // "true" or "false" for booleans; empty for null
};

struct MofValue {
    bool isArray = false;
    std::vector<MofLiteral> elements;  // exactly one for a scalar
};

struct MofQualifier {
    std::string name;
    bool hasValue = false;
    MofValue value;
    std::size_t line = 0;
};

struct MofProperty {
    std::vector<MofQualifier> qualifiers;
    std::string type;            // lower-case word; "reference" for a reference
    std::string referenceClass;  // of a reference
    std::string name;
    bool isArray = false;
    std::size_t line = 0;
};

struct MofClass {
    std::vector<MofQualifier> qualifiers;
    std::string name;
    std::string superclass;  // empty: a root
    std::vector<MofProperty> properties;
    std::size_t line = 0;
};

struct MofDocument {
    std::string source;  // its name in errors
    bool isBuiltIn = false;
    std::vector<std::string> qualifierNames;
    std::vector<MofClass> classes;
};

}  // namespace refhost
