// Building and running of the automaton (Aho and Corasick's, with the lowest rank kept in place of every match).
#include "provider/contained_key_search.h"

#include <algorithm>

namespace diskmgt_col {

ContainedKeySearch::ContainedKeySearch(const std::vector<std::string_view>& keys) : states(1) {
    struct Step {
        std::uint32_t from;
        std::uint32_t to;
        char byte;
    };
    std::vector<std::vector<Step>> stepsByDepth;
    for (std::size_t rank = 0; rank < keys.size(); ++rank) {
        const std::string_view key = keys[rank];
        if (stepsByDepth.size() < key.size()) stepsByDepth.resize(key.size());
        std::uint32_t state = kStart;
        for (std::size_t depth = 0; depth < key.size(); ++depth) {
            const auto fresh = static_cast<std::uint32_t>(states.size());
            const auto [child, isNew] = children.try_emplace(edge(state, key[depth]), fresh);
            if (isNew) {
                states.emplace_back();
                stepsByDepth[depth].push_back({state, fresh, key[depth]});
            }
            state = child->second;
        }
        states[state].bestRank = std::min(states[state].bestRank, rank);  // of equal keys the first counts
    }
    // A suffix is shorter than what it is a suffix of, so going by depth finds its state complete.
    for (const std::vector<Step>& steps : stepsByDepth) {
        for (const Step& step : steps) {
            State& state = states[step.to];
            if (step.from != kStart) state.longestSuffix = advance(states[step.from].longestSuffix, step.byte);
            state.bestRank = std::min(state.bestRank, states[state.longestSuffix].bestRank);
        }
    }
}

std::size_t ContainedKeySearch::firstWithin(std::string_view text) const {
    std::uint32_t state = kStart;
    std::size_t best = states[kStart].bestRank;
    for (const char byte : text) {
        state = advance(state, byte);
        best = std::min(best, states[state].bestRank);
    }
    return best;
}

std::uint32_t ContainedKeySearch::advance(std::uint32_t state, char byte) const {
    for (;;) {
        const auto child = children.find(edge(state, byte));
        if (child != children.end()) return child->second;
        if (state == kStart) return kStart;
        state = states[state].longestSuffix;
    }
}

}  // namespace diskmgt_col
