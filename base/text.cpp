#include "base/text.h"

namespace diskmgt_col {

template <>
std::string dataToString(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

template <>
std::string dataToString(char* text) {
    return dataToString<const char*>(text);
}

template <>
std::string dataToString(unsigned long value) {
    return std::to_string(value);
}

template <>
std::string dataToString(unsigned int value) {
    return std::to_string(value);
}

template <>
std::string dataToString(char value) {
    return std::string(1, value);
}

template <>
std::string dataToString(int value) {
    return std::to_string(value);
}

std::vector<std::string> multiStringTok(std::string& text, char delimiter) {
    std::vector<std::string> pieces;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t found = text.find(delimiter, begin);
        const std::size_t end = found == std::string::npos ? text.size() : found;
        if (end != begin) pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return pieces;
}

}  // namespace diskmgt_col
