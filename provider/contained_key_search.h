// ContainedKeySearch: finds, in one pass over a text, the first of many keys that lies within it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace diskmgt_col {

/// An automaton over all keys at once: a text costs its own length, however many keys there are. Keys are ranked by
/// the order in which they are added.
class ContainedKeySearch {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// The ranks are the positions in `keys`, which are not kept.
    explicit ContainedKeySearch(const std::vector<std::string_view>& keys);

    /// The lowest rank of a key that occurs in the text, the empty key in any; `kNone` when no key does.
    std::size_t firstWithin(std::string_view text) const;

private:
    /// What has been matched so far: a prefix of some key.
    struct State {
        std::uint32_t longestSuffix = 0;  // the state of the longest proper suffix that is a prefix of some key
        std::size_t bestRank = kNone;     // the lowest rank of a key that the matched text ends in
    };

    static constexpr std::uint32_t kStart = 0;  // nothing matched

    /// The state after one more byte.
    std::uint32_t advance(std::uint32_t state, char byte) const;

    static std::uint64_t edge(std::uint32_t state, char byte) {
        return std::uint64_t{state} << 8 | static_cast<unsigned char>(byte);
    }

    std::vector<State> states;
    std::unordered_map<std::uint64_t, std::uint32_t> children;  // by edge
};

}  // namespace diskmgt_col
