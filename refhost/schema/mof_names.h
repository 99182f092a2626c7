// Names in MOF text ignore the case of their letters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace refhost {

inline char lowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

inline std::string lowerCase(std::string_view name) {
    std::string lower(name);
    for (char& letter : lower) letter = lowerCase(letter);
    return lower;
}

inline bool sameName(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    for (std::size_t i = 0; i < left.size(); ++i)
        if (lowerCase(left[i]) != lowerCase(right[i])) return false;
    return true;
}

/// Orders names without regard to case, by length first: that ends most comparisons.
struct NameLess {
    bool operator()(std::string_view left, std::string_view right) const {
        if (left.size() != right.size()) return left.size() < right.size();
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (left[i] == right[i]) continue;
            const char leftLetter = lowerCase(left[i]);
            const char rightLetter = lowerCase(right[i]);
            if (leftLetter != rightLetter) return leftLetter < rightLetter;
        }
        return false;
    }
};

}  // namespace refhost
