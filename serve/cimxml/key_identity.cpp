#include "serve/cimxml/key_identity.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <functional>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/names.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

namespace {

using Kind = KeyBinding::Kind;

bool isInteger(const std::string& type) { return type.compare(0, 4, "uint") == 0 || type.compare(0, 4, "sint") == 0; }
bool isReal(const std::string& type) { return type.compare(0, 4, "real") == 0; }

std::string_view withoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<std::string> canonicalInteger(std::string_view text) {
    const bool isNegative = text.substr(0, 1) == "-";
    if (isNegative || text.substr(0, 1) == "+") text.remove_prefix(1);
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    if (isHexadecimal) text.remove_prefix(2);
    std::uint64_t magnitude = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, magnitude, isHexadecimal ? 16 : 10);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return (isNegative && magnitude != 0 ? "-" : "") + std::to_string(magnitude);
}

std::optional<std::string> canonicalReal(std::string_view text, bool isSingle) {
    if (text.substr(0, 1) == "+") text.remove_prefix(1);
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);
    if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value)) return std::nullopt;
    if (isSingle) value = static_cast<double>(static_cast<float>(value));
    if (value == 0) value = 0;  // minus zero is the same number
    char form[32];
    const auto written = std::to_chars(form, form + sizeof form, value);
    return std::string(form, written.ptr);
}

/// Whether a value written this way may be meant for a key of the type.
bool fits(Kind kind, const std::string& type) {
    switch (kind) {
        case Kind::kNumber:
            return isInteger(type) || isReal(type);
        case Kind::kTruth:
            return type == "boolean";
        case Kind::kReference:
            return type == "reference";
        default:
            return true;
    }
}

[[noreturn]] void refuseValue(const KeyBinding& key, const std::string& type) {
    throw CimFailure(CimStatus::kNotFound, "The value of key " + key.name + " is not of its type, " + type + ".");
}

/// Whatever is wrong with the name of a target: there is no instance with such a key.
std::string targetIdentity(const ClassTree& tree, const InstanceName& target) {
    try {
        return identityOf(tree, target);
    } catch (const CimFailure& failure) {
        throw CimFailure(CimStatus::kNotFound, failure.what());
    }
}

std::string targetIdentity(const ClassTree& tree, const std::string& path) {
    const auto target = instanceNameFromText(path);
    if (!target) throw CimFailure(CimStatus::kNotFound, quotedForClient(path) + " is not an object path.");
    return targetIdentity(tree, *target);
}

std::string valueOf(const ClassTree& tree, const KeyBinding& key, const std::string& type) {
    if (!fits(key.kind, type)) refuseValue(key, type);
    if (key.kind == Kind::kReference) return targetIdentity(tree, key.target.front());
    if (type == "reference") return targetIdentity(tree, key.text);
    auto canonical = canonicalKeyValue(type, key.text);
    if (!canonical) refuseValue(key, type);
    return *std::move(canonical);
}

/// The class's position, then each key's value with its length before it. A null key is a length that no value has.
std::string assembled(
    const CimClass& cls,
    const std::function<std::optional<std::string>(const refhost::PropertyDeclaration&)>& valueOfKey) {
    std::string identity = std::to_string(cls.index);
    for (const refhost::PropertyDeclaration* const key : cls.keys) {
        const auto value = valueOfKey(*key);
        identity += value ? ' ' + std::to_string(value->size()) + ' ' + *value : " -";
    }
    return identity;
}

void checkKeys(const CimClass& cls, const InstanceName& name) {
    for (const KeyBinding& key : name.keys) {
        const refhost::PropertyDeclaration* const declared = cls.findProperty(key.name);
        if (declared == nullptr || !declared->isKey)
            throw CimFailure(CimStatus::kInvalidParameter,
                             quotedForClient(key.name) + " is not a key of " + cls.name() + ".");
        for (const KeyBinding& other : name.keys)
            if (&other != &key && sameName(other.name, key.name))
                throw CimFailure(CimStatus::kInvalidParameter, "The key " + declared->name + " is given twice.");
    }
}

}  // namespace

std::optional<std::string> canonicalKeyValue(const std::string& type, std::string_view text) {
    if (type == "boolean") {
        const std::string_view word = withoutBlanks(text);
        if (sameName(word, "true")) return "true";
        if (sameName(word, "false")) return "false";
        return std::nullopt;
    }
    if (isInteger(type)) return canonicalInteger(withoutBlanks(text));
    if (isReal(type)) return canonicalReal(withoutBlanks(text), type == "real32");
    return asReadFromXml(text);
}

void checkNamespace(const std::string& nameSpace) {
    constexpr const char* kOnly = refhost::ReferenceHost::kNamespace;
    if (!nameSpace.empty() && !sameName(nameSpace, kOnly))
        throw CimFailure(CimStatus::kInvalidNamespace,
                         "There is no namespace " + quotedForClient(nameSpace) + ", only " + kOnly + ".");
}

const CimClass& classOf(const ClassTree& tree, const std::string& className) {
    const CimClass* const found = tree.find(className);
    if (found == nullptr)
        throw CimFailure(CimStatus::kInvalidClass, "There is no class " + quotedForClient(className) + ".");
    return *found;
}

std::string identityOf(const ClassTree& tree, const InstanceName& name) {
    checkNamespace(name.nameSpace);
    const CimClass& cls = classOf(tree, name.className);
    checkKeys(cls, name);
    return assembled(cls, [&](const refhost::PropertyDeclaration& declared) -> std::optional<std::string> {
        for (const KeyBinding& key : name.keys)
            if (sameName(key.name, declared.name)) return valueOf(tree, key, declared.type);
        return std::nullopt;
    });
}

std::string identityOf(const ClassTree& tree, const CimClass& cls, const refhost::Instance& instance) {
    return assembled(cls, [&](const refhost::PropertyDeclaration& declared) -> std::optional<std::string> {
        for (const refhost::PropertyValue& value : instance.properties) {
            if (value.declaration != &declared || value.isNull) continue;
            return declared.type == "reference" ? targetIdentity(tree, value.elements.front())
                                                : canonicalKeyValue(declared.type, value.elements.front());
        }
        return std::nullopt;
    });
}

}  // namespace diskmgt::serve
