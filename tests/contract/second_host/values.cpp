// Types, values and references of the second host: typed variants, and pointers for references.
#include <boost/make_shared.hpp>
#include <charconv>
#include <limits>

#include "plugin/host/tal_exception.h"
#include "tests/contract/second_host/host.h"
#include "tests/contract/second_host/kinds.h"

namespace NVEXTAL20 {

using second_host::Array;
using second_host::Held;
using second_host::InstancePointer;
using second_host::Kind;
using second_host::SecondHost;

namespace {

struct KindName {
    Kind kind;
    const char* name;
};
constexpr KindName kKindNames[] = {{Kind::kString, "string"}, {Kind::kBoolean, "boolean"},
                                   {Kind::kUint16, "uint16"}, {Kind::kUint32, "uint32"},
                                   {Kind::kUint64, "uint64"}, {Kind::kReference, "reference"}};

Kind kindNamed(const std::string& name) {
    for (const KindName& row : kKindNames) {
        if (name == row.name) return row.kind;
    }
    throw TTALException("no type is called \"" + name + "\"");
}

template <typename Number>
Held numberFrom(const std::string& text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) throw TTALException("\"" + text + "\" is no number of that type");
    return number;
}

Held truthFrom(const std::string& text) {
    if (text == "true") return true;
    if (text == "false") return false;
    throw TTALException("\"" + text + "\" is neither true nor false");
}

Held parse(Kind kind, const std::string& text) {
    switch (kind) {
        case Kind::kString:
            return text;
        case Kind::kBoolean:
            return truthFrom(text);
        case Kind::kUint16:
            return numberFrom<std::uint16_t>(text);
        case Kind::kUint32:
            return numberFrom<std::uint32_t>(text);
        case Kind::kUint64:
            return numberFrom<std::uint64_t>(text);
        case Kind::kReference:
            break;
    }
    throw TTALException("this host has no object paths");
}

struct ToText {
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(bool truth) const { return truth ? "true" : "false"; }
    std::string operator()(const InstancePointer& /*instance*/) const { return "an instance"; }
    std::string operator()(const Array& array) const {
        std::string text;
        for (const TCIMValue& element : array.elements) text += "[" + static_cast<std::string>(element) + "]";
        return text;
    }
    template <typename Number>
    std::string operator()(Number number) const {
        return std::to_string(number);
    }
};

}  // namespace

TCIMReference::TCIMReference(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMReference::TCIMReference(const TCIMReference& other) = default;
TCIMReference& TCIMReference::operator=(const TCIMReference& other) = default;
TCIMReference::~TCIMReference() = default;

TCIMValue::TCIMType::TCIMType(std::string name) : held(boost::make_shared<Content>(kindNamed(name), false)) {}
TCIMValue::TCIMType::TCIMType(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMValue::TCIMType::TCIMType(const TCIMType& other) = default;
TCIMValue::TCIMType& TCIMValue::TCIMType::operator=(const TCIMType& other) = default;

std::string TCIMValue::TCIMType::ToString() const {
    for (const KindName& row : kKindNames) {
        if (held->kind == row.kind) return row.name;
    }
    throw TTALException("a type without a name");
}

TCIMValue::TCIMValue() = default;
TCIMValue::TCIMValue(std::string text) : held(boost::make_shared<Content>(Held(std::move(text)))) {}
TCIMValue::TCIMValue(TCIMReference& reference)
    : held(boost::make_shared<Content>(Held(reference.content()->instance))) {
    (void)SecondHost::current().isAnsweredNull({"wrap", "", "", {}});
}
TCIMValue::TCIMValue(TCIMType type, std::string& text, boost::shared_ptr<ICIMNamespace> nameSpace) {
    (void)SecondHost::current().isAnsweredNull({"parse", "", text, {}});
    if (nameSpace == nullptr) throw TTALException("a value needs a namespace");
    if (type.content()->isArray) throw TTALException("a single value cannot be of an array's type");
    held = boost::make_shared<Content>(parse(type.content()->kind, text));
}
TCIMValue::TCIMValue(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMValue::TCIMValue(const TCIMValue& other) = default;
TCIMValue& TCIMValue::operator=(const TCIMValue& other) {
    if (held == nullptr) (void)SecondHost::current().isAnsweredNull({"assignToNull", "", other, {}});
    held = other.held;
    return *this;
}
TCIMValue::~TCIMValue() = default;

void TCIMValue::Set(TCIMType type, unsigned int flags, const std::vector<TCIMValue>& elements) {
    (void)SecondHost::current().isAnsweredNull({"Set", "", std::to_string(flags), {}});
    if (!type.content()->isArray) throw TTALException("an array cannot be of the type of its elements");
    const Kind kind = type.content()->kind;
    for (const TCIMValue& element : elements) {
        if (element.IsNull() || element.held->isArray() || element.held->kind() != kind) {
            throw TTALException("an element is not of the array's type");
        }
    }
    held = boost::make_shared<Content>(Held(Array{kind, elements}));
}

bool TCIMValue::IsNull() const { return held == nullptr; }

TCIMValue::operator std::string() const { return held == nullptr ? std::string() : std::visit(ToText(), held->held); }

}  // namespace NVEXTAL20
