// UTF-8, one character after the other.
#pragma once

#include <cstddef>
#include <string_view>

namespace diskmgt {

struct Utf8Character {
    std::size_t length;  // in bytes, at least 1
    bool isWellFormed;
};

/// What begins at `position`, which lies within the text. Overlong forms, surrogates and numbers past U+10FFFF are not
/// well-formed; the length is then that of the longest beginning of a character, which readers replace as one.
Utf8Character utf8CharacterAt(std::string_view text, std::size_t position);

}  // namespace diskmgt
