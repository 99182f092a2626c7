// TCIMType, TCIMReference and TCIMValue: what plug-ins hold of the host's contents.
#include "plugin/host/cim_value.h"

#include <boost/make_shared.hpp>

#include "plugin/host/tal_exception.h"
#include "refhost/boundary/boundary.h"
#include "refhost/boundary/request_scope.h"
#include "refhost/model/reference_parser.h"
#include "refhost/value/content.h"
#include "refhost/value/value_parser.h"

namespace NVEXTAL20 {

namespace {

boost::shared_ptr<const TCIMValue::TCIMType::Content> contentNamed(const std::string& word) {
    const std::optional<refhost::CimType> type = refhost::cimTypeNamed(word);
    if (!type) throw TTALException("there is no CIM type named \"" + word + "\"");
    return refhost::typeContent(*type);
}

/// One of the two truths. Every value of it shares one content, which is never destroyed and so needs no counting.
const refhost::ValuePointer& truth(const std::string& text) {
    static const auto& contents = *new std::pair<TCIMValue::Content, TCIMValue::Content>(
        {refhost::CimType::kBoolean, std::string("true")}, {refhost::CimType::kBoolean, std::string("false")});
    static const auto& yes = *new refhost::ValuePointer(refhost::ValuePointer(), &contents.first);
    static const auto& no = *new refhost::ValuePointer(refhost::ValuePointer(), &contents.second);
    return refhost::parseScalar(refhost::CimType::kBoolean, text) == "true" ? yes : no;
}

boost::shared_ptr<const TCIMValue::Content> parse(refhost::CimType type, const std::string& text,
                                                  const boost::shared_ptr<ICIMNamespace>& nameSpace) {
    if (type == refhost::CimType::kReference)
        return boost::make_shared<const TCIMValue::Content>(refhost::parseReference(text, nameSpace.get()));
    if (type == refhost::CimType::kBoolean) return truth(text);
    const auto make = [&] {
        return boost::make_shared<const TCIMValue::Content>(type, refhost::parseScalar(type, text));
    };
    refhost::RecentValues* const recent = refhost::RequestScope::recentValues();
    if (recent == nullptr) return make();
    refhost::ValuePointer& place = recent->placeOf(type, text);
    // A canonical text is read as itself, so a value that has this text is what would be made of it.
    if (!place || place->type != type || place->text() != text) place = make();
    return place;
}

boost::shared_ptr<const TCIMValue::Content> gather(refhost::CimType type, const std::vector<TCIMValue>& elements) {
    std::vector<std::string> texts;
    texts.reserve(elements.size());
    const auto refuse = [&](const std::string& why) {
        throw TTALException("element " + std::to_string(texts.size() + 1) + " of an array of " + refhost::nameOf(type) +
                            " " + why);
    };
    for (const TCIMValue& element : elements) {
        if (element.IsNull()) refuse("is null");
        const TCIMValue::Content& content = *element.content();
        if (content.isArray()) refuse("is itself an array");
        if (content.type != type)
            refuse("is the " + refhost::nameOf(content.type) + " \"" + content.text() + "\": its type differs");
        texts.push_back(content.text());
    }
    return boost::make_shared<const TCIMValue::Content>(type, std::move(texts));
}

}  // namespace

TCIMValue::TCIMType::TCIMType(std::string name)
    : held(refhost::cross(
          "makeType",
          [&] {
              return refhost::TraceArguments{{"name", name}};
          },
          [&] { return contentNamed(name); })) {}

TCIMValue::TCIMType::TCIMType(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMValue::TCIMType::TCIMType(const TCIMType& other) = default;
TCIMValue::TCIMType& TCIMValue::TCIMType::operator=(const TCIMType& other) = default;

std::string TCIMValue::TCIMType::ToString() const { return held->name; }

TCIMReference::TCIMReference(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMReference::TCIMReference(const TCIMReference& other) = default;
TCIMReference& TCIMReference::operator=(const TCIMReference& other) = default;
TCIMReference::~TCIMReference() = default;

TCIMValue::TCIMValue() = default;
TCIMValue::TCIMValue(std::string text)
    : held(boost::make_shared<const Content>(refhost::CimType::kString, std::move(text))) {}
TCIMValue::TCIMValue(TCIMReference& reference) : held(boost::make_shared<const Content>(reference.content())) {}
TCIMValue::TCIMValue(TCIMType type, std::string& text, boost::shared_ptr<ICIMNamespace> nameSpace)
    : held(refhost::cross(
          "parseValue",
          [&] {
              return refhost::TraceArguments{{"type", refhost::nameOf(type.content()->kind)}, {"text", text}};
          },
          [&] { return parse(type.content()->kind, text, nameSpace); })) {}
TCIMValue::TCIMValue(boost::shared_ptr<const Content> content) : held(std::move(content)) {}
TCIMValue::TCIMValue(const TCIMValue& other) = default;
TCIMValue& TCIMValue::operator=(const TCIMValue& other) = default;
TCIMValue::~TCIMValue() = default;

void TCIMValue::Set(TCIMType type, unsigned int /*flags: of no meaning here*/, const std::vector<TCIMValue>& elements) {
    refhost::cross(
        "setArray",
        [&] {
            return refhost::TraceArguments{{"type", refhost::nameOf(type.content()->kind)},
                                           {"count", static_cast<std::uint64_t>(elements.size())}};
        },
        [&] { held = gather(type.content()->kind, elements); });
}

bool TCIMValue::IsNull() const { return !held; }

TCIMValue::operator std::string() const {
    if (!held) return {};
    const Content::Elements* const elements = held->elements();
    if (elements == nullptr) return held->text();
    std::string joined;
    for (const std::string& element : *elements) {
        if (&element != &elements->front()) joined += ',';
        joined += element;
    }
    return joined;
}

}  // namespace NVEXTAL20
