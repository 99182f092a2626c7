#include "serve/cimxml/names.h"

#include <algorithm>

namespace diskmgt::serve {

namespace {

char folded(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

}  // namespace

bool sameName(std::string_view one, std::string_view other) {
    return one.size() == other.size() && std::equal(one.begin(), one.end(), other.begin(), [](char left, char right) {
               return folded(left) == folded(right);
           });
}

std::string foldedName(std::string_view name) {
    std::string text(name);
    std::transform(text.begin(), text.end(), text.begin(), folded);
    return text;
}

}  // namespace diskmgt::serve
