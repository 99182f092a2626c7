#include "provider/key_automaton.h"

#include <algorithm>
#include <cstring>

namespace diskmgt_col {

KeyAutomaton::KeyAutomaton(const std::vector<std::string_view>& keys) {
    std::size_t stateCount = 1;  // at most; the start
    for (const std::string_view key : keys) stateCount += key.size();
    firstChild.reserve(stateCount + 1);
    lastByte.reserve(stateCount);
    longestSuffix.reserve(stateCount);
    firstKey.reserve(stateCount);
    lastByte.push_back('\0');
    longestSuffix.push_back(kStart);
    firstKey.push_back(kNone);

    struct Range {
        std::uint32_t begin;
        std::uint32_t end;
    };
    // The range of keys that begin with each state, length by length: children need only shorter states.
    std::vector<Range> level = {{0, static_cast<std::uint32_t>(keys.size())}};
    std::vector<Range> nextLevel;
    for (std::size_t length = 0; !level.empty(); ++length) {
        nextLevel.clear();
        for (const Range& range : level) {
            const auto state = static_cast<std::uint32_t>(firstChild.size());
            firstChild.push_back(static_cast<std::uint32_t>(lastByte.size()));
            if (keys[range.begin].size() == length) continue;  // a whole key: no other key begins with it
            for (std::uint32_t begin = range.begin; begin < range.end;) {
                const char byte = keys[begin][length];
                std::uint32_t end = begin + 1;
                while (end < range.end && keys[end][length] == byte) ++end;
                const std::uint32_t suffix = state == kStart ? kStart : advance(longestSuffix[state], byte);
                const std::uint32_t ownKey = keys[begin].size() == length + 1 ? begin : kNone;
                lastByte.push_back(byte);
                longestSuffix.push_back(suffix);
                firstKey.push_back(std::min(ownKey, firstKey[suffix]));
                nextLevel.push_back({begin, end});
                begin = end;
            }
        }
        level.swap(nextLevel);
    }
    firstChild.push_back(static_cast<std::uint32_t>(lastByte.size()));
}

std::uint32_t KeyAutomaton::firstWithin(std::string_view text) const {
    std::uint32_t state = kStart;
    std::uint32_t first = kNone;
    for (const char byte : text) {
        state = advance(state, byte);
        first = std::min(first, firstKey[state]);
    }
    return first;
}

std::uint32_t KeyAutomaton::advance(std::uint32_t state, char byte) const {
    for (;;) {
        const std::uint32_t begin = firstChild[state];
        const std::size_t count = firstChild[state + 1] - begin;
        const void* const found = count == 0 ? nullptr : std::memchr(&lastByte[begin], byte, count);
        if (found != nullptr) return static_cast<std::uint32_t>(static_cast<const char*>(found) - lastByte.data());
        if (state == kStart) return kStart;
        state = longestSuffix[state];
    }
}

}  // namespace diskmgt_col
