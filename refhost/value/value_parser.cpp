#include "refhost/value/value_parser.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <system_error>

#include "plugin/host/tal_exception.h"
#include "refhost/value/character.h"
#include "refhost/value/datetime.h"

namespace refhost {

namespace {

template <typename Number>
std::string decimalText(Number number) {
    char digits[64];  // the longest double in its shortest form has 24 characters
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
    return std::string(digits, end.ptr);
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerWord) {
    if (text.size() != lowerWord.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char letter = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
        if (letter != lowerWord[i]) return false;
    }
    return true;
}

std::string parseBoolean(std::string_view text) {
    if (equalsIgnoringCase(text, "true")) return "true";
    if (equalsIgnoringCase(text, "false")) return "false";
    refuseText(CimType::kBoolean, text, "it is neither true nor false");
}

template <typename Integer>
std::string parseInteger(CimType type, std::string_view text) {
    Integer number = 0;
    // Reads digits; a minus sign for signed types only; no plus sign, blank or base prefix.
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec == std::errc::invalid_argument || read.ptr != text.data() + text.size())
        refuseText(type, text, "it is no decimal integer");
    if (read.ec == std::errc::result_out_of_range) refuseText(type, text, "it is out of range");
    const bool isCanonical = text.front() != '0' && text.front() != '-';  // no leading zeros, no negative zero
    return isCanonical ? std::string(text) : decimalText(number);
}

template <typename Real>
std::string parseReal(CimType type, std::string_view text) {
    Real number = 0;
    const std::from_chars_result read = std::from_chars(text.data(), text.data() + text.size(), number);
    if (read.ec == std::errc::invalid_argument || read.ptr != text.data() + text.size())
        refuseText(type, text, "it is no decimal floating number");
    if (read.ec == std::errc::result_out_of_range) refuseText(type, text, "it is out of range");
    if (!std::isfinite(number)) refuseText(type, text, "it is no finite number");
    return decimalText(number);
}

}  // namespace

void refuseText(CimType type, std::string_view text, const std::string& why) {
    std::string sentence = "the text \"";
    for (const char character : text) {
        if (character == '\0')
            sentence += "\\0";  // what() would end here
        else
            sentence += character;
    }
    sentence.append("\" is no ").append(nameOf(type)).append(": ").append(why);
    throw NVEXTAL20::TTALException(sentence);
}

std::string parseScalar(CimType type, std::string_view text) {
    switch (type) {
        case CimType::kString:
            return std::string(text);
        case CimType::kBoolean:
            return parseBoolean(text);
        case CimType::kUint8:
            return parseInteger<std::uint8_t>(type, text);
        case CimType::kUint16:
            return parseInteger<std::uint16_t>(type, text);
        case CimType::kUint32:
            return parseInteger<std::uint32_t>(type, text);
        case CimType::kUint64:
            return parseInteger<std::uint64_t>(type, text);
        case CimType::kSint8:
            return parseInteger<std::int8_t>(type, text);
        case CimType::kSint16:
            return parseInteger<std::int16_t>(type, text);
        case CimType::kSint32:
            return parseInteger<std::int32_t>(type, text);
        case CimType::kSint64:
            return parseInteger<std::int64_t>(type, text);
        case CimType::kReal32:
            return parseReal<float>(type, text);
        case CimType::kReal64:
            return parseReal<double>(type, text);
        case CimType::kChar16:
            if (!isOneBmpCharacter(text))
                refuseText(type, text, "it is not exactly one character of the Basic Multilingual Plane");
            return std::string(text);
        case CimType::kDatetime:
            if (const char* const why = datetimeFault(text)) refuseText(type, text, why);
            return std::string(text);
        case CimType::kReference:
            break;
    }
    refuseText(type, text, "a reference needs a namespace to be read in");
}

}  // namespace refhost
