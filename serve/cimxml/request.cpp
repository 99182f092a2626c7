#include "serve/cimxml/request.h"

#include <cstring>
#include <pugixml.hpp>
#include <string_view>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

namespace {

using pugi::xml_node;

constexpr int kGreatestDepth = 32;

[[noreturn]] void refuseAsNotValid(const std::string& why) { throw RequestRefusal("request-not-valid", why); }

bool isNamed(const xml_node& node, const char* name) { return std::strcmp(node.name(), name) == 0; }
bool isElement(const xml_node& node) { return node.type() == pugi::node_element; }

std::string nameOf(const xml_node& node) { return "element " + quotedForClient(node.name()); }

/// Sees to it that no later step has to go deeper.
class DepthCheck : public pugi::xml_tree_walker {
public:
    bool for_each(xml_node& node) override {
        if (node.type() == pugi::node_doctype) refuseAsNotValid("A request with a DTD is not read.");
        if (isElement(node) && depth() >= kGreatestDepth)
            refuseAsNotValid("The request has elements deeper than " + std::to_string(kGreatestDepth) + ".");
        return true;
    }
};

std::vector<xml_node> elementsIn(const xml_node& node) {
    std::vector<xml_node> elements;
    for (const xml_node& child : node) {
        if (isElement(child)) elements.push_back(child);
    }
    return elements;
}

/// The one element in the node.
xml_node onlyElement(const xml_node& node) {
    const auto elements = elementsIn(node);
    if (elements.size() != 1) refuseAsNotValid("The " + nameOf(node) + " does not hold one element.");
    return elements.front();
}

xml_node expected(const xml_node& node, const char* name) {
    if (!isNamed(node, name)) refuseAsNotValid("There is the " + nameOf(node) + " where " + name + " is expected.");
    return node;
}

std::string attribute(const xml_node& node, const char* name) {
    std::string value = node.attribute(name).value();
    if (value.empty()) refuseAsNotValid("The " + nameOf(node) + " lacks the attribute " + name + ".");
    return value;
}

/// A comment may have cut the text in pieces.
std::string textOf(const xml_node& node) {
    std::string text;
    for (const xml_node& child : node) {
        if (isElement(child)) refuseAsNotValid("The " + nameOf(node) + " holds an element where text is expected.");
        text += child.value();
    }
    return text;
}

std::string namespaceOf(const xml_node& localNamespacePath) {
    std::string nameSpace;
    for (const xml_node& part : elementsIn(localNamespacePath))
        nameSpace += (nameSpace.empty() ? "" : "/") + attribute(expected(part, "NAMESPACE"), "NAME");
    return nameSpace;
}

InstanceName readObject(const xml_node& node);

KeyBinding::Kind kindOfKey(const xml_node& keyValue) {
    const std::string_view type = keyValue.attribute("VALUETYPE").as_string("string");
    if (type == "string") return KeyBinding::Kind::kText;
    if (type == "numeric") return KeyBinding::Kind::kNumber;
    if (type == "boolean") return KeyBinding::Kind::kTruth;
    refuseAsNotValid("The attribute VALUETYPE is " + quotedForClient(std::string(type)) + ".");
}

KeyBinding readKey(const xml_node& binding) {
    KeyBinding key;
    key.name = attribute(expected(binding, "KEYBINDING"), "NAME");
    const xml_node value = onlyElement(binding);
    if (isNamed(value, "VALUE.REFERENCE")) {
        key.kind = KeyBinding::Kind::kReference;
        key.target.push_back(readObject(onlyElement(value)));
    } else {
        key.kind = kindOfKey(expected(value, "KEYVALUE"));
        key.text = textOf(value);
    }
    return key;
}

/// CLASSPATH, INSTANCEPATH and their local forms. The host is not looked at: there is one server here.
InstanceName readPath(const xml_node& node) {
    const auto parts = elementsIn(node);
    if (parts.size() != 2) refuseAsNotValid("The " + nameOf(node) + " does not hold two elements.");
    const bool isLocal = std::strncmp(node.name(), "LOCAL", 5) == 0;
    xml_node place = parts.front();
    if (!isLocal) {
        const auto hostAndPlace = elementsIn(expected(place, "NAMESPACEPATH"));
        if (hostAndPlace.size() != 2) refuseAsNotValid("A NAMESPACEPATH does not hold two elements.");
        (void)expected(hostAndPlace.front(), "HOST");
        place = hostAndPlace.back();
    }
    InstanceName name = readObject(parts.back());
    name.nameSpace = namespaceOf(expected(place, "LOCALNAMESPACEPATH"));
    return name;
}

bool isOneOf(const xml_node& node, std::initializer_list<const char*> names) {
    for (const char* const name : names)
        if (isNamed(node, name)) return true;
    return false;
}

InstanceName readObject(const xml_node& node) {
    InstanceName name;
    if (isNamed(node, "CLASSNAME")) {
        name.className = node.attribute("NAME").value();
        return name;
    }
    if (isOneOf(node, {"CLASSPATH", "LOCALCLASSPATH", "INSTANCEPATH", "LOCALINSTANCEPATH"})) return readPath(node);
    name.className = attribute(expected(node, "INSTANCENAME"), "CLASSNAME");
    const auto parts = elementsIn(node);
    // A single key may come without its name. No class here has one such key.
    for (const xml_node& part : parts) name.keys.push_back(readKey(part));
    return name;
}

void readValue(const xml_node& value, CimParameter& parameter) {
    using Kind = CimParameter::Kind;
    if (isNamed(value, "VALUE")) {
        parameter.kind = Kind::kValue;
        parameter.values.push_back(textOf(value));
    } else if (isNamed(value, "VALUE.ARRAY")) {
        parameter.kind = Kind::kArray;
        for (const xml_node& element : elementsIn(value))
            if (isNamed(element, "VALUE")) parameter.values.push_back(textOf(element));
    } else if (isNamed(value, "VALUE.REFERENCE")) {
        readValue(onlyElement(value), parameter);
    } else if (isOneOf(value, {"CLASSNAME", "CLASSPATH", "LOCALCLASSPATH"})) {
        parameter.kind = Kind::kClass;
        parameter.object = readObject(value);
    } else if (isOneOf(value, {"INSTANCENAME", "INSTANCEPATH", "LOCALINSTANCEPATH"})) {
        parameter.kind = Kind::kInstance;
        parameter.object = readObject(value);
    } else {
        parameter.kind = Kind::kOther;  // for operations that are not offered
    }
}

CimParameter readParameter(const xml_node& node) {
    CimParameter parameter;
    parameter.name = attribute(expected(node, "IPARAMVALUE"), "NAME");
    const auto values = elementsIn(node);
    if (values.size() > 1) refuseAsNotValid("A parameter has two values.");
    if (!values.empty()) readValue(values.front(), parameter);
    return parameter;
}

void readOperation(const xml_node& node, CimCall& call) {
    const auto parts = elementsIn(node);
    if (parts.empty()) refuseAsNotValid("The call names no namespace.");
    call.nameSpace = namespaceOf(expected(parts.front(), "LOCALNAMESPACEPATH"));
    for (std::size_t i = 1; i < parts.size(); ++i) call.parameters.push_back(readParameter(parts[i]));
}

/// `version` begins with the wanted major version.
void checkVersion(const xml_node& node, const char* name, char wanted, const char* headerWord) {
    const std::string version = attribute(node, name);
    if (version.size() < 3 || version[0] != wanted || version[1] != '.')
        throw RequestRefusal(headerWord,
                             std::string(name) + " is " + quotedForClient(version) + ", not " + wanted + ".x.");
}

CimCall readMessage(const xml_node& cim) {
    checkVersion(expected(cim, "CIM"), "CIMVERSION", '2', "unsupported-cim-version");
    checkVersion(cim, "DTDVERSION", '2', "unsupported-dtd-version");
    const xml_node message = expected(onlyElement(cim), "MESSAGE");
    CimCall call;
    call.messageId = attribute(message, "ID");
    checkVersion(message, "PROTOCOLVERSION", '1', "unsupported-protocol-version");
    const xml_node request = onlyElement(message);
    if (isNamed(request, "MULTIREQ"))
        throw RequestRefusal("multiple-requests-unsupported", "Only one operation is answered in a message.");
    const xml_node node = onlyElement(expected(request, "SIMPLEREQ"));
    call.isIntrinsic = !isNamed(node, "METHODCALL");
    call.method = attribute(call.isIntrinsic ? expected(node, "IMETHODCALL") : node, "NAME");
    if (call.isIntrinsic) readOperation(node, call);
    return call;
}

}  // namespace

CimCall readCall(const std::string& body) {
    const auto refuseAsNotWellFormed = [](const std::string& why) {
        throw RequestRefusal("request-not-well-formed", why);
    };
    if (!isXmlText(body)) refuseAsNotWellFormed("The request is not XML 1.0 in UTF-8.");
    constexpr unsigned kOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                  pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single | pugi::parse_doctype;
    pugi::xml_document document;
    const auto outcome = document.load_buffer(body.data(), body.size(), kOptions, pugi::encoding_utf8);
    if (!outcome)
        refuseAsNotWellFormed("The request is not well-formed at byte " + std::to_string(outcome.offset) + ": " +
                              outcome.description() + ".");
    DepthCheck check;
    (void)document.traverse(check);  // true: nothing ends the walk but an exception
    const auto roots = elementsIn(document);
    if (roots.size() != 1) refuseAsNotWellFormed("The request does not have one root element.");
    return readMessage(roots.front());
}

}  // namespace diskmgt::serve
