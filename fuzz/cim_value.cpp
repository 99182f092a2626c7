// Texts parsed as CIM values. An accepted text has a canonical form of the same meaning; any other is refused with the
// host's exception. First byte: the type.
#include <string>

#include "fuzz/target.h"
#include "plugin/host/tal_exception.h"
#include "refhost/value/value_parser.h"

namespace {

using diskmgt_fuzz::require;
using refhost::CimType;

bool isSigned(CimType type) { return type >= CimType::kSint8 && type <= CimType::kSint64; }
bool isInteger(CimType type) { return type >= CimType::kUint8 && type <= CimType::kSint64; }

/// An optional minus sign and digits, nothing else.
bool looksLikeInteger(const std::string& text, bool mayBeNegative) {
    const std::size_t begin = mayBeNegative && !text.empty() && text[0] == '-' ? 1 : 0;
    return begin < text.size() && text.find_first_not_of("0123456789", begin) == std::string::npos;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    diskmgt_fuzz::Choices input(data, size);
    const auto type = static_cast<CimType>(input.byte() % 14);  // all but references
    const std::string text(input.rest(), input.restSize());
    try {
        const std::string canonical = refhost::parseScalar(type, text);
        require(refhost::parseScalar(type, canonical) == canonical, "a canonical text is its own canonical form");
        require(type != CimType::kString || canonical == text, "a string is taken as it stands");
        require(!isInteger(type) || looksLikeInteger(text, isSigned(type)), "an integer has digits alone");
    } catch (const NVEXTAL20::TTALException& refusal) {
        require(type != CimType::kString, "no string is refused");
        require(*refusal.what() != '\0', "a refusal says why");
        require(!(type == CimType::kUint64 && looksLikeInteger(text, false) && text.size() < 20),
                "an integer that fits is not refused");
    }
    return 0;
}
