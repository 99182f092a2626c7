// ContainedKeySearch: finds, for each of many texts, the first of many keys that lies within it.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace diskmgt_col {

/// Time grows with the bytes of keys and texts, never with their product, whatever the bytes are. What is made for a
/// search takes at most 4 MiB, or twice the bytes of the texts if that is more, beside a few words for each key and
/// text. It is gone when the search ends.
class ContainedKeySearch {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// The keys in byte order; equal ones and the empty one are allowed. The rank of a key is its position. The bytes
    /// stay the caller's.
    explicit ContainedKeySearch(std::vector<std::string_view> sortedKeys);

    /// For each text the lowest rank of a key that occurs in it, the empty key in any; `kNone` when no key does.
    std::vector<std::size_t> firstWithinEach(const std::vector<std::string_view>& texts) const;

    /// The same for one short text. Nothing is made for it, but its time grows with the square of its length.
    std::size_t firstWithin(std::string_view text) const;

private:
    class Pass;

    std::vector<std::string_view> keys;
    /// Ranks of the keys that do not begin with a key of lower rank. No other is ever the first within a text, and of
    /// these at most one begins at any place of a text.
    std::vector<std::size_t> leading;
};

}  // namespace diskmgt_col
