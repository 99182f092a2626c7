// ContainedKeySearch: finds, for each of many texts, the first of many keys that lies within it.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace diskmgt_col {

/// Time grows with the bytes of keys and texts, never with their product, for any bytes. A search takes at most 4 MiB,
/// or twice the bytes of the texts if that is more, and a few words for each key and text; it frees them at its end.
class ContainedKeySearch {
public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    /// The keys in byte order; equal ones and the empty one are allowed. The rank of a key is its position. The
    /// bytes stay the caller's.
    explicit ContainedKeySearch(std::vector<std::string_view> sortedKeys);

    /// For each text the lowest rank of a key that occurs in it, the empty key in any; `kNone` when no key does.
    std::vector<std::size_t> firstWithinEach(const std::vector<std::string_view>& texts) const;

    /// The same for one short text. Allocates nothing, but its time grows with the square of the length.
    std::size_t firstWithin(std::string_view text) const;

private:
    class Pass;

    std::vector<std::string_view> keys;
    /// Ranks of the keys that do not begin with a key of lower rank. Only these can be the first key within a text, and
    /// at most one of them begins at any one place of a text.
    std::vector<std::size_t> leading;
};

}  // namespace diskmgt_col
