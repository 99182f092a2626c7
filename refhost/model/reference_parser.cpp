#include "refhost/model/reference_parser.h"

#include <boost/make_shared.hpp>

#include "refhost/model/namespace_object.h"
#include "refhost/schema/schema.h"
#include "refhost/value/object_path.h"
#include "refhost/value/value_parser.h"

namespace refhost {

namespace {

void checkPath(const std::string& text, const Schema& schema);

void checkKey(const std::string& text, const DeclaredClass& declared, const std::string& key, const std::string& value,
              const Schema& schema) {
    const std::optional<std::size_t> position = declared.findProperty(key);
    if (!position || !declared.properties()[*position].declaration->isKey)
        refuseText(CimType::kReference, text, "\"" + key + "\" is no key of " + declared.name());
    const CimType type = declared.properties()[*position].type;
    if (type == CimType::kReference)
        checkPath(value, schema);  // a path within a path: each level doubles the quotes, so the depth is small
    else
        (void)parseScalar(type, value);
}

void checkPath(const std::string& text, const Schema& schema) {
    const ObjectPath path = parseObjectPath(text);
    const DeclaredClass* const declared = schema.find(path.className);
    if (declared == nullptr) refuseText(CimType::kReference, text, "there is no class \"" + path.className + "\"");
    for (const auto& [key, value] : path.keys) checkKey(text, *declared, key, value, schema);
}

}  // namespace

boost::shared_ptr<const NVEXTAL20::TCIMReference::Content> parseReference(const std::string& text,
                                                                          NVEXTAL20::ICIMNamespace* nameSpace) {
    if (nameSpace == nullptr) refuseText(CimType::kReference, text, "no namespace was given to look up its class");
    if (const auto* const own = dynamic_cast<const NamespaceObject*>(nameSpace)) {
        checkPath(text, own->schema());
    } else {
        NVEXTAL20::TCIMOptions options;
        if (!nameSpace->GetClass(parseObjectPath(text).className, options))
            refuseText(CimType::kReference, text, "its class is not known");
    }
    return boost::make_shared<const NVEXTAL20::TCIMReference::Content>(text);
}

}  // namespace refhost
