#include "text/wording.h"

#include <charconv>
#include <cstddef>

namespace diskmgt {

namespace {

std::string joined(const std::vector<std::string>& texts, const char* between, const char* beforeLast) {
    std::string text;
    for (std::size_t i = 0; i < texts.size(); ++i)
        text += (i == 0 ? "" : i + 1 == texts.size() ? beforeLast : between) + texts[i];
    return text;
}

}  // namespace

std::string joined(const std::vector<std::string>& texts, const char* between) {
    return joined(texts, between, between);
}

std::string joinedWithOr(const std::vector<std::string>& texts) { return joined(texts, ", ", " or "); }

std::string listed(const std::vector<std::string>& texts) {
    constexpr std::size_t kMostNamed = 8;
    if (texts.size() <= kMostNamed) return joined(texts, ", ", " and ");
    const std::vector<std::string> named(texts.begin(), texts.begin() + kMostNamed);
    return joined(named, ", ") + " and " + std::to_string(texts.size() - kMostNamed) + " more";
}

std::string counted(std::uint64_t count, const std::string& noun) {
    return (count == 0 ? "no" : std::to_string(count)) + " " + noun + (count == 1 ? "" : "s");
}

std::string decimalText(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::string refusalOfCount(std::int32_t entryCount) {
    std::string count = "it claims " + std::to_string(entryCount) + " entries";
    if (entryCount >= 0) count += "; more than 773 of them are used, or they do not fit into memory";
    return count;
}

std::string didYouMean(const std::vector<std::string>& proposals) {
    return proposals.empty() ? "" : ", did you mean " + joinedWithOr(proposals) + "?";
}

}  // namespace diskmgt
