// Any bytes as MOF, beside the built-in classes: they are read and resolved, or refused with the host's exception.
#include <string_view>
#include <utility>
#include <vector>

#include "fuzz/target.h"
#include "plugin/host/tal_exception.h"
#include "refhost/api/reference_host.h"
#include "refhost/schema/mof_parser.h"
#include "refhost/schema/schema.h"

namespace {

using diskmgt_fuzz::require;

std::vector<refhost::MofDocument> builtIn() {
    return {refhost::parseMof(refhost::ReferenceHost::baseMof(), "base.mof"),
            refhost::parseMof(refhost::ReferenceHost::vendorMof(), "vexsg.mof")};
}

void check(const refhost::Schema& schema) {
    for (const refhost::DeclaredClass& declared : schema.declaredClasses()) {
        require(schema.find(declared.name()) == &declared, "a class is found by its name");
        const std::string& superclass = declared.declaration().superclass;
        require(superclass.empty() || declared.isOrLiesBeneath(*schema.find(superclass)), "a class has its superclass");
        for (const refhost::DeclaredProperty& property : declared.properties())
            require((property.type == refhost::CimType::kReference) == (property.referenceClass != nullptr),
                    "a reference has its class");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static std::vector<refhost::MofDocument> documents = builtIn();
    try {
        auto document = refhost::parseMof(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.mof");
        for (const auto& declared : document.classes) {
            require(!declared.name.empty(), "a class has a name");
            for (const auto& property : declared.properties)
                require(!property.name.empty() && !property.type.empty(), "a property has a name and a type");
        }
        documents.resize(2);
        documents.push_back(std::move(document));
        check(refhost::Schema(documents));
    } catch (const NVEXTAL20::TTALException& refusal) {
        require(*refusal.what() != '\0', "a refusal says why");
    }
    return 0;
}
