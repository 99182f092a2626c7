#include "text/utf8.h"

namespace diskmgt {

Utf8Character utf8CharacterAt(std::string_view text, std::size_t position) {
    const auto first = static_cast<unsigned char>(text[position]);
    if (first < 0x80) return {1, true};
    if (first < 0xC2 || first > 0xF4) return {1, false};
    const std::size_t length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    // What is too long, a surrogate or too large shows in the second byte.
    unsigned lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    unsigned highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    for (std::size_t read = 1; read < length; ++read) {
        if (position + read >= text.size()) return {read, false};
        const auto byte = static_cast<unsigned char>(text[position + read]);
        if (byte < lowest || byte > highest) return {read, false};
        lowest = 0x80;
        highest = 0xBF;
    }
    return {length, true};
}

}  // namespace diskmgt
