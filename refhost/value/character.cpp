#include "refhost/value/character.h"

namespace refhost {

namespace {

constexpr unsigned int kFirstSurrogate = 0xD800;
constexpr unsigned int kLastSurrogate = 0xDFFF;

bool continues(unsigned int byte) { return (byte & 0xC0U) == 0x80U; }

}  // namespace

bool isOneBmpCharacter(std::string_view bytes) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned int>(static_cast<unsigned char>(bytes[at])); };
    if (bytes.size() == 1) return byte(0) < 0x80U;
    if (bytes.size() == 2) return byte(0) >= 0xC2U && byte(0) <= 0xDFU && continues(byte(1));
    if (bytes.size() != 3 || (byte(0) & 0xF0U) != 0xE0U || !continues(byte(1)) || !continues(byte(2))) return false;
    const unsigned int character = (byte(0) & 0x0FU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
    return character >= 0x800U && (character < kFirstSurrogate || character > kLastSurrogate);
}

void appendUtf8(std::string& text, unsigned int character) {
    if (character < 0x80U) {
        text += static_cast<char>(character);
    } else if (character < 0x800U) {
        text += static_cast<char>(0xC0U | character >> 6U);
        text += static_cast<char>(0x80U | (character & 0x3FU));
    } else {
        text += static_cast<char>(0xE0U | character >> 12U);
        text += static_cast<char>(0x80U | (character >> 6U & 0x3FU));
        text += static_cast<char>(0x80U | (character & 0x3FU));
    }
}

}  // namespace refhost
