// KeyAutomaton: finds, in one pass over a text, the first of many keys that lies within it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diskmgt_col {

/// Aho and Corasick's automaton, with the lowest key kept in place of every match. A text costs its own length, however
/// many keys there are; a state costs 13 bytes, and there is one for every different beginning of a key.
class KeyAutomaton {
public:
    static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

    /// `keys` are not empty, in byte order, and none begins with another. `stateCount` is how many states they need,
    /// the start included: 2^31 at most. Nothing is kept of `keys`.
    KeyAutomaton(const std::vector<std::string_view>& keys, std::size_t stateCount);

    /// The lowest position in `keys` of a key that occurs in the text; `kNone` when no key does.
    std::uint32_t firstWithin(std::string_view text) const;

private:
    static constexpr std::uint32_t kStart = 0;  // nothing matched

    /// The state after one more byte.
    std::uint32_t advance(std::uint32_t state, char byte) const;

    // A state is a beginning of some key. States are numbered by length, then by bytes, so a state's children are
    // neighbours, in byte order: firstChild[state] to firstChild[state + 1].
    std::vector<std::uint32_t> firstChild;
    std::vector<char> lastByte;
    std::vector<std::uint32_t> longestSuffix;  // the state of the longest proper suffix that is one
    std::vector<std::uint32_t> firstKey;       // the lowest key that the state ends in
};

}  // namespace diskmgt_col
