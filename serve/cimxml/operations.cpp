#include "serve/cimxml/operations.h"

#include <algorithm>
#include <optional>

#include "serve/cimxml/cim_failure.h"
#include "serve/cimxml/key_identity.h"
#include "serve/cimxml/names.h"
#include "serve/cimxml/offered_operations.h"
#include "serve/cimxml/request.h"
#include "serve/cimxml/xml_text.h"

namespace diskmgt::serve {

namespace {

struct Offered {
    const char* name;
    void (*answer)(const OperationContext& context, const CimCall& call, XmlWriter& xml);
};

constexpr Offered kOffered[] = {
    {"EnumerateClassNames", enumerateClassNames},
    {"EnumerateClasses", enumerateClasses},
    {"GetClass", getClass},
    {"EnumerateInstanceNames", enumerateInstanceNames},
    {"EnumerateInstances", enumerateInstances},
    {"GetInstance", getInstance},
    {"Associators", associators},
    {"AssociatorNames", associatorNames},
    {"References", references},
    {"ReferenceNames", referenceNames},
};

/// Operations that CIM servers may offer and this one does not. Clients fall back from Open... and Pull... to the
/// above.
constexpr const char* kNotOffered[] = {
    "CreateClass",
    "CreateInstance",
    "DeleteClass",
    "DeleteInstance",
    "DeleteQualifier",
    "CloseEnumeration",
    "EnumerateQualifiers",
    "EnumerationCount",
    "ExecQuery",
    "GetProperty",
    "GetQualifier",
    "ModifyClass",
    "ModifyInstance",
    "OpenAssociatorInstancePaths",
    "OpenAssociatorInstances",
    "OpenEnumerateInstancePaths",
    "OpenEnumerateInstances",
    "OpenQueryInstances",
    "OpenReferenceInstancePaths",
    "OpenReferenceInstances",
    "PullInstancePaths",
    "PullInstances",
    "PullInstancesWithPath",
    "SetProperty",
    "SetQualifier",
};

const Offered& operationNamed(const CimCall& call) {
    const auto found = std::find_if(std::begin(kOffered), std::end(kOffered),
                                    [&](const Offered& offered) { return sameName(offered.name, call.method); });
    if (call.isIntrinsic && found != std::end(kOffered)) return *found;
    const bool isKnown = std::any_of(std::begin(kNotOffered), std::end(kNotOffered),
                                     [&](const char* name) { return sameName(name, call.method); });
    const std::string name = quotedForClient(call.method);
    if (!call.isIntrinsic)
        throw CimFailure(CimStatus::kNotSupported, "The classes here have no methods, so no " + name + ".");
    throw CimFailure(CimStatus::kNotSupported,
                     isKnown ? name + " is not offered here." : name + " is not an operation of CIM.");
}

void writeReturnValue(const OperationContext& context, const CimCall& call, XmlWriter& xml) {
    const Offered& operation = operationNamed(call);
    if (call.nameSpace.empty()) throw CimFailure(CimStatus::kInvalidNamespace, "The call names no namespace.");
    checkNamespace(call.nameSpace);
    xml.begin("IRETURNVALUE");
    operation.answer(context, call, xml);
    xml.end("IRETURNVALUE");
}

void writeError(const CimFailure& failure, XmlWriter& xml) {
    const std::string code = std::to_string(static_cast<int>(failure.status));
    xml.shortForm("ERROR", {{"CODE", code}, {"DESCRIPTION", failure.what()}});
}

std::string returnedOrError(const OperationContext& context, const CimCall& call) {
    try {
        XmlWriter xml;
        writeReturnValue(context, call, xml);
        return xml.take();
    } catch (const CimFailure& failure) {  // what was written by then is dropped
        XmlWriter xml;
        writeError(failure, xml);
        return xml.take();
    }
}

std::string answerTo(const OperationContext& context, const CimCall& call) {
    const char* const response = call.isIntrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE";
    XmlWriter xml;
    xml.raw("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
    xml.begin("CIM", {{"CIMVERSION", "2.0"}, {"DTDVERSION", "2.0"}});
    xml.begin("MESSAGE", {{"ID", call.messageId}, {"PROTOCOLVERSION", "1.0"}}).begin("SIMPLERSP");
    xml.begin(response, {{"NAME", call.method}});
    xml.raw(returnedOrError(context, call));
    xml.end(response).end("SIMPLERSP").end("MESSAGE").end("CIM").raw("\n");
    return xml.take();
}

}  // namespace

const ObjectStore& OperationContext::neededStore() const {
    if (store == nullptr) throw CimFailure(CimStatus::kFailed, whyNothing);
    return *store;
}

CimReply answerCim(const std::string& requestBody, const std::vector<refhost::ClassDeclaration>& classes,
                   const ObjectStore* store, const std::string& hostName, const std::string& whyNothing) {
    CimReply reply;
    try {
        const CimCall call = readCall(requestBody);
        reply.method = call.method;
        std::optional<ClassTree> declared;
        const ClassTree& tree = store != nullptr ? store->tree() : declared.emplace(classes);
        reply.body = answerTo({tree, store, hostName, whyNothing}, call);
    } catch (const RequestRefusal& refusal) {
        reply.httpStatus = 400;
        reply.cimError = refusal.cimError;
        reply.body = std::string(refusal.what()) + "\n";
    }
    return reply;
}

}  // namespace diskmgt::serve
