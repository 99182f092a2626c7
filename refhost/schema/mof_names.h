// Names in MOF text ignore the case of their letters.
#pragma once

#include <string>
#include <string_view>

namespace refhost {

inline std::string lowerCase(std::string_view name) {
    std::string lower(name);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

}  // namespace refhost
