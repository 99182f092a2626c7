// Commas, "and" and "or".
#include "text/wording.h"

#include <algorithm>
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

bool contains(const std::vector<std::string>& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

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

std::string refusalOfCount(std::int32_t entryCount) {
    std::string count = "it says that it has " + std::to_string(entryCount) + " entries";
    if (entryCount >= 0) count += ", and more of them are used than any disk has (773), or they are beyond memory";
    return count;
}

std::string didYouMean(const std::vector<std::string>& proposals) {
    return proposals.empty() ? "" : ", did you mean " + joinedWithOr(proposals) + "?";
}

}  // namespace diskmgt
