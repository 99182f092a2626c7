// KeyAutomaton: finds, in one pass over a text, the first of many keys that lies within it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace diskmgt_col {

/// Aho and Corasick's automaton that keeps only the lowest matching key. Time grows with the length of the text, not
/// with the number of keys. A state takes 13 bytes, and there is at most one for each byte of the keys.
class KeyAutomaton {
public:
    static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

    /// The keys: at least one, none empty, in byte order, none beginning with another, at most 2^31 bytes together.
    /// They need not outlive the call.
    explicit KeyAutomaton(const std::vector<std::string_view>& keys);

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
