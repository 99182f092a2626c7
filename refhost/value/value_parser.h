// Text to value, for every CIM type but references: strict, and independent of the process's locale.
#pragma once

#include <string>
#include <string_view>

#include "plugin/host/tal_api.h"
#include "refhost/value/cim_type.h"

namespace refhost {

/// The canonical text of `text` read as one value of `type`. Throws `TTALException` saying the type, the text and
/// why it does not fit. Not for references, whose meaning depends on a namespace.
TAL_API std::string parseScalar(CimType type, std::string_view text);

/// Throws the refusal of a text, worded the same for every type.
[[noreturn]] void refuseText(CimType type, std::string_view text, const std::string& why);

}  // namespace refhost
