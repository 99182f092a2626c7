#include "text/suggestions.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace diskmgt {

namespace {

constexpr std::size_t kMostSuggestions = 3;
constexpr std::size_t kShortestPart = 4;  // letters that must be given of a longer name

std::string lowerCase(std::string text) {
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

/// Insertions, deletions, replacements and swaps of neighbours that turn one text into the other.
std::size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> beforeLast(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::vector<std::size_t> current(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= from.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = last[j - 1] + (from[i - 1] == to[j - 1] ? 0 : 1);
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, replaced});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1])
                current[j] = std::min(current[j], beforeLast[j - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last[to.size()];
}

/// What follows the prefix of a class name ("VEXSG_DiskDrive": "DiskDrive"); the whole name when it has none.
std::string withoutPrefix(const std::string& name) {
    const std::size_t underscore = name.find('_');
    return underscore == std::string::npos ? name : name.substr(underscore + 1);
}

}  // namespace

std::vector<std::string> nearestNames(const std::string& name, const std::vector<std::string>& known) {
    constexpr std::size_t kLongestJudged = 256;  // the distance costs the product of both lengths
    if (name.empty() || name.size() > kLongestJudged) return {};
    const std::string wanted = lowerCase(name);
    const std::string bare = withoutPrefix(wanted);
    const std::size_t nearEnough = wanted.size() < 6 ? 1 : wanted.size() < 12 ? 2 : 3;
    std::vector<std::pair<std::size_t, std::string>> near;
    for (const std::string& candidate : known) {
        const std::string whole = lowerCase(candidate);
        if (whole == wanted) return {candidate};
        const std::size_t distance = std::min(editDistance(wanted, whole), editDistance(wanted, withoutPrefix(whole)));
        // "VEXSG_Partition" is far from "VEXSG_DiskPartition", but a user who types it means something of that kind.
        const bool isWithin = bare.size() >= kShortestPart && whole.find(bare) != std::string::npos;
        if (distance <= nearEnough || isWithin) near.emplace_back(distance, candidate);
    }
    std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::string> names;
    for (const auto& found : near)
        if (names.size() < kMostSuggestions) names.push_back(found.second);
    return names;
}

}  // namespace diskmgt
