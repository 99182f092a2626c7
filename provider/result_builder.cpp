#include "provider/result_builder.h"

#include <string>
#include <vector>

#include "base/text.h"
#include "provider/host_access.h"

namespace diskmgt_col {

using NVEXTAL20::ICIMClass;
using NVEXTAL20::ICIMInstance;
using NVEXTAL20::ICIMNamespace;
using NVEXTAL20::ICIMProperty;
using NVEXTAL20::TCIMOptions;
using NVEXTAL20::TCIMValue;
using NVEXTAL20::TTALException;

namespace {

constexpr unsigned int kSetFlags = 256;

boost::shared_ptr<ICIMNamespace> namespaceOf(ICIMClass& cls) {
    TCIMOptions options;
    return required(cls.GetNamespace(options), "the host gave no namespace for a class");
}

/// The elements' type is made from the name of the declared type; the array itself has the declared type.
void setArray(TCIMValue& value, const TCIMValue::TCIMType& type, std::string& text, ICIMClass& cls) {
    std::vector<std::string> pieces = multiStringTok(text, ',');
    const TCIMValue::TCIMType elementType(type.ToString());
    std::vector<TCIMValue> elements;
    elements.reserve(pieces.size());
    for (std::string& piece : pieces) elements.emplace_back(elementType, piece, namespaceOf(cls));
    value.Set(type, kSetFlags, elements);
}

void assign(ICIMInstance& instance, ICIMClass& cls, const std::string& name, std::string& text) {
    TCIMOptions lookupOptions;
    const auto property = required(instance.GetProperty(name, lookupOptions), "the host gave no property");
    TCIMOptions typeOptions;
    const TCIMValue::TCIMType type = property->GetType(typeOptions);
    TCIMValue value;
    TCIMOptions arrayOptions;
    if (property->IsArray(arrayOptions)) {
        setArray(value, type, text, cls);
    } else {
        value = TCIMValue(type, text, namespaceOf(cls));
    }
    TCIMOptions assignOptions;
    instance.SetProperty(name, value, assignOptions);
}

void logSkippedProperty(ICIMClass& cls, const std::string& name, const std::string& text,
                        const TTALException& failure) {
    const LogMessage* const log = LogMessage::getInstance();
    logIfPossible([&] {
        log->writeDebug("Error processing property " + name + ". With value " + text + " from class " + nameOf(cls));
    });
    logIfPossible([&] { log->writeError(dataToString<const char*>(failure.what())); });
}

}  // namespace

bool ResultBuilder::operator()(boost::shared_ptr<ICIMClass> cls, PropertyMap& properties) const {
    TCIMOptions creationOptions;
    const boost::shared_ptr<ICIMInstance> instance = cls->CreateInstance(creationOptions);
    if (instance == nullptr || properties.empty()) return true;
    std::string scratch;  // one buffer for all: the host gets a copy of each text
    for (const auto& [name, text] : properties) {
        try {
            scratch = text;
            assign(*instance, *cls, name, scratch);
        } catch (const TTALException& failure) {
            logSkippedProperty(*cls, name, text, failure);
        }
    }
    try {
        commit(*instance);
    } catch (const TTALException& failure) {
        logFailedCreation(*cls, failure);
        return true;
    }
    return false;
}

}  // namespace diskmgt_col
