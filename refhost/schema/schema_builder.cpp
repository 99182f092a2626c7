// Qualifiers without meaning to this host are accepted once they are declared.
#include "refhost/schema/schema_builder.h"

#include <algorithm>

#include "refhost/schema/mof_lexer.h"

namespace refhost {

namespace {

// Far above any real schema: a malicious one must not fill the memory with inherited properties.
constexpr std::size_t kGreatestDepth = 64;
constexpr std::size_t kMostProperties = 100'000;
constexpr std::size_t kMostPropertiesOfAClass = 1'000;     // each is compared with all others
constexpr std::size_t kMostText = std::size_t{64} << 20U;  // a subclass has a copy of every inherited text

const std::string kReferenceType = "reference";

}  // namespace

std::vector<ClassDeclaration> SchemaBuilder::build() {
    for (const MofDocument& one : documents) {
        document = &one;
        qualifierNames.insert(one.qualifierNames.begin(), one.qualifierNames.end());
        classes.reserve(classes.size() + one.classes.size());
        for (const MofClass& written : one.classes) addClass(written);
    }
    for (const Reference& reference : references) resolve(reference);
    for (ClassDeclaration& one : classes)
        for (PropertyDeclaration& property : one.properties)  // inherited with the name as written
            if (!property.referenceClass.empty()) property.referenceClass = findClass(property.referenceClass)->name;
    return std::move(classes);
}

void SchemaBuilder::refuse(std::size_t line, const std::string& why) const { refuseMof(document->source, line, why); }

const ClassDeclaration* SchemaBuilder::findClass(std::string_view name) const {
    const auto found = positions.find(name);
    return found == positions.end() ? nullptr : &classes[found->second];
}

void SchemaBuilder::addClass(const MofClass& written) {
    if (findClass(written.name) != nullptr)
        refuse(written.line, "the class \"" + written.name + "\" is already declared");
    ClassDeclaration declared;
    declared.name = written.name;
    declared.isBuiltIn = document->isBuiltIn;
    std::size_t depth = 1;
    const ClassDeclaration* superclass = nullptr;
    if (!written.superclass.empty()) {
        superclass = findClass(written.superclass);
        if (superclass == nullptr)
            refuse(written.line, "the superclass \"" + written.superclass + "\" is not declared");
        declared.superclass = superclass->name;
        depth += depths[static_cast<std::size_t>(superclass - classes.data())];
        if (depth > kGreatestDepth) refuse(written.line, "the class tree is too deep");
    }
    requireDeclared(written.qualifiers);
    declared.isAbstract = truth(written.qualifiers, "abstract", false);
    declared.isAssociation =
        truth(written.qualifiers, "association", superclass != nullptr && superclass->isAssociation);
    declared.version = text(written.qualifiers, "version", "");
    declared.description = text(written.qualifiers, "description", "");
    const std::size_t most = written.properties.size() + (superclass == nullptr ? 0 : superclass->properties.size());
    if (most > kMostPropertiesOfAClass) refuse(written.line, "the class has too many properties");
    declared.properties.reserve(most);
    for (const MofProperty& property : written.properties) addProperty(property, declared);
    if (superclass != nullptr)
        for (const PropertyDeclaration& inherited : superclass->properties)
            if (std::none_of(declared.properties.begin(), declared.properties.end(),
                             [&](const auto& own) { return own.name == inherited.name; }))
                declared.properties.push_back(inherited);
    countIn(declared, written.line);
    positions.emplace(written.name, classes.size());
    depths.push_back(depth);
    classes.push_back(std::move(declared));
}

void SchemaBuilder::countIn(const ClassDeclaration& declared, std::size_t line) {
    propertyCount += declared.properties.size();
    if (propertyCount > kMostProperties) refuse(line, "the classes have too many properties");
    for (const PropertyDeclaration& property : declared.properties) {
        textBytes += property.description.size() + property.unit.size();
        for (const auto& [value, meaning] : property.valueNames)
            textBytes += 2 * sizeof(std::string) + value.size() + meaning.size();
    }
    if (textBytes > kMostText) refuse(line, "the classes have too many texts");
}

void SchemaBuilder::addProperty(const MofProperty& written, ClassDeclaration& declared) {
    for (const PropertyDeclaration& other : declared.properties)
        if (sameName(other.name, written.name))
            refuse(written.line, "the property \"" + written.name + "\" is declared twice");
    const PropertyDeclaration* inherited = nullptr;
    if (!declared.superclass.empty())
        for (const PropertyDeclaration& other : findClass(declared.superclass)->properties)
            if (sameName(other.name, written.name)) inherited = &other;
    requireDeclared(written.qualifiers);
    PropertyDeclaration property;
    if (inherited != nullptr) {
        checkOverride(written, *inherited);
        property = *inherited;
    } else {
        if (find(written.qualifiers, "override") != nullptr)
            refuse(written.line, "there is no property \"" + written.name + "\" to override");
        property.name = written.name;
        property.type = written.type;
        property.isArray = written.isArray;
    }
    property.declaredIn = declared.name;
    applyQualifiers(written, property);
    if (written.type == kReferenceType) {
        references.push_back({document, written.line, classes.size(), declared.properties.size(),
                              inherited == nullptr ? "" : inherited->referenceClass});
        property.referenceClass = written.referenceClass;
    }
    declared.properties.push_back(std::move(property));
}

void SchemaBuilder::checkOverride(const MofProperty& written, const PropertyDeclaration& inherited) const {
    const std::string overridden = text(written.qualifiers, "override", "");
    if (overridden.empty())
        refuse(written.line, "\"" + written.name + "\" is already a property of \"" + inherited.declaredIn +
                                 "\"; to change it, say Override");
    if (!sameName(overridden, written.name))
        refuse(written.line, "\"" + written.name + "\" cannot override \"" + overridden + "\", another name");
    if (written.type != inherited.type || written.isArray != inherited.isArray)
        refuse(written.line, "\"" + written.name + "\" overrides a property of another type");
}

void SchemaBuilder::applyQualifiers(const MofProperty& written, PropertyDeclaration& declared) const {
    declared.isKey = truth(written.qualifiers, "key", declared.isKey);
    declared.unit = text(written.qualifiers, "punit", declared.unit);
    declared.description = text(written.qualifiers, "description", declared.description);
    applyValueNames(written, declared);
}

void SchemaBuilder::applyValueNames(const MofProperty& written, PropertyDeclaration& declared) const {
    const MofQualifier* const map = find(written.qualifiers, "valuemap");
    const MofQualifier* const names = find(written.qualifiers, "values");
    if (map == nullptr && names == nullptr) return;
    std::vector<std::string> meanings;
    if (names != nullptr) meanings = texts(*names);
    std::vector<std::string> values;
    if (map != nullptr) {
        values = texts(*map);
    } else {
        for (std::size_t i = 0; i < meanings.size(); ++i) values.push_back(std::to_string(i));  // counted from 0
    }
    if (names == nullptr) meanings = values;
    if (values.size() != meanings.size())
        refuse(written.line, "\"" + written.name + "\" has " + std::to_string(values.size()) + " values and " +
                                 std::to_string(meanings.size()) + " names for them");
    declared.valueNames.clear();
    for (std::size_t i = 0; i < values.size(); ++i) declared.valueNames.emplace_back(values[i], meanings[i]);
}

bool SchemaBuilder::isOrLiesBeneath(const ClassDeclaration& one, const std::string& other) const {
    const ClassDeclaration* ancestor = &one;
    while (ancestor != nullptr && !sameName(ancestor->name, other))
        ancestor = ancestor->superclass.empty() ? nullptr : findClass(ancestor->superclass);
    return ancestor != nullptr;
}

void SchemaBuilder::resolve(const Reference& reference) {
    document = reference.document;
    const PropertyDeclaration& property = classes[reference.classPosition].properties[reference.propertyPosition];
    const ClassDeclaration* const target = findClass(property.referenceClass);
    if (target == nullptr) refuse(reference.line, "the class \"" + property.referenceClass + "\" is not declared");
    if (!reference.overridden.empty() && !isOrLiesBeneath(*target, reference.overridden))
        refuse(reference.line, "\"" + target->name + "\" does not lie beneath \"" + reference.overridden +
                                   "\", which the overridden \"" + property.name + "\" names");
}

void SchemaBuilder::requireDeclared(const std::vector<MofQualifier>& qualifiers) const {
    for (const MofQualifier& qualifier : qualifiers)
        if (qualifierNames.count(qualifier.name) == 0)
            refuse(qualifier.line, "the qualifier \"" + qualifier.name + "\" is not declared");
}

const MofQualifier* SchemaBuilder::find(const std::vector<MofQualifier>& qualifiers, const char* lowerName) const {
    const MofQualifier* found = nullptr;
    for (const MofQualifier& qualifier : qualifiers) {
        if (!sameName(qualifier.name, lowerName)) continue;
        if (found != nullptr) refuse(qualifier.line, "the qualifier \"" + qualifier.name + "\" is here twice");
        found = &qualifier;
    }
    return found;
}

bool SchemaBuilder::truth(const std::vector<MofQualifier>& qualifiers, const char* lowerName, bool otherwise) const {
    const MofQualifier* const found = find(qualifiers, lowerName);
    if (found == nullptr) return otherwise;
    if (!found->hasValue) return true;
    const MofValue& value = found->value;
    if (value.isArray || value.elements[0].kind != MofLiteral::Kind::kBoolean)
        refuse(found->line, "the qualifier \"" + found->name + "\" takes true or false");
    return value.elements[0].text == "true";
}

std::string SchemaBuilder::text(const std::vector<MofQualifier>& qualifiers, const char* lowerName,
                                const std::string& otherwise) const {
    const MofQualifier* const found = find(qualifiers, lowerName);
    if (found == nullptr) return otherwise;
    const MofValue& value = found->value;
    if (!found->hasValue || value.isArray || value.elements[0].kind != MofLiteral::Kind::kString)
        refuse(found->line, "the qualifier \"" + found->name + "\" takes one text");
    return value.elements[0].text;
}

std::vector<std::string> SchemaBuilder::texts(const MofQualifier& qualifier) const {
    std::vector<std::string> all;
    for (const MofLiteral& literal : qualifier.value.elements) {
        if (literal.kind != MofLiteral::Kind::kString) break;
        all.push_back(literal.text);
    }
    if (!qualifier.hasValue || !qualifier.value.isArray || all.size() != qualifier.value.elements.size())
        refuse(qualifier.line, "the qualifier \"" + qualifier.name + "\" takes a list of texts");
    return all;
}

}  // namespace refhost
