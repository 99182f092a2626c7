// UTF-8: one character to bytes and back.
#pragma once

#include <string>
#include <string_view>

#include "plugin/host/tal_api.h"

namespace refhost {

/// True when the bytes are the UTF-8 form of exactly one character up to U+FFFF: not overlong, not a surrogate.
TAL_API bool isOneBmpCharacter(std::string_view bytes);

/// Appends the UTF-8 form of a character up to U+FFFF.
void appendUtf8(std::string& text, unsigned int character);

}  // namespace refhost
