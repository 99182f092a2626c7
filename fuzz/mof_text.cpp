// Any bytes as MOF: they are read, or refused with the host's exception.
#include <string_view>

#include "fuzz/target.h"
#include "plugin/host/tal_exception.h"
#include "refhost/schema/mof_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using diskmgt_fuzz::require;
    try {
        const auto document =
            refhost::parseMof(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.mof");
        for (const auto& declared : document.classes) {
            require(!declared.name.empty(), "a class has a name");
            for (const auto& property : declared.properties)
                require(!property.name.empty() && !property.type.empty(), "a property has a name and a type");
        }
    } catch (const NVEXTAL20::TTALException& refusal) {
        require(*refusal.what() != '\0', "a refusal says why");
    }
    return 0;
}
