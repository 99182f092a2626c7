// Case of the letters that protocols are written in; no other letter changes.
#pragma once

#include <string>
#include <string_view>

namespace diskmgt::serve {

inline char lowerLetter(char letter) {
    return static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter + ('a' - 'A') : letter);
}

inline std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) letter = lowerLetter(letter);
    return lower;
}

inline bool equalsWithoutCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    for (std::size_t at = 0; at < left.size(); ++at)
        if (lowerLetter(left[at]) != lowerLetter(right[at])) return false;
    return true;
}

}  // namespace diskmgt::serve
