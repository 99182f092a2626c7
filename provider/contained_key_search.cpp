#include "provider/contained_key_search.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "provider/key_automaton.h"

namespace diskmgt_col {

namespace {

// An automaton has at most one state per this many bytes of the texts, which bounds its memory by theirs. Each
// automaton reads the texts once, so that costs at most this many steps for each byte of the keys.
constexpr std::size_t kTextBytesPerState = 8;
constexpr std::size_t kFewStates = std::size_t{1} << 18;   // 3.25 MiB: always allowed
constexpr std::size_t kManyStates = std::size_t{1} << 31;  // more are never numbered
constexpr std::size_t kStatesPerKey = 8;                   // what the list of a batch's keys takes, as so many states

bool beginsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

bool contains(std::string_view text, std::string_view key) {
    return key.empty() || memmem(text.data(), text.size(), key.data(), key.size()) != nullptr;  // linear, unlike find
}

}  // namespace

/// One search in many texts. Takes the keys in batches, in the order of their ranks: once a batch finds a key in a
/// text, that text is done.
class ContainedKeySearch::Pass {
public:
    Pass(const ContainedKeySearch& owner, const std::vector<std::string_view>& searched)
        : search(owner), texts(searched), found(searched.size(), kNone) {
        std::size_t bytes = 0;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            open.push_back(i);
            longestText = std::max(longestText, texts[i].size());
            bytes += texts[i].size();
        }
        mostStates = std::min(std::max(kFewStates, bytes / kTextBytesPerState), kManyStates);
    }

    std::vector<std::size_t> run() {
        for (const std::size_t rank : search.leading) {
            if (open.empty()) break;
            const std::string_view key = search.keys[rank];
            if (key.size() > longestText) continue;
            const std::size_t states = key.size() + kStatesPerKey;  // at most
            if (key.empty() || states > mostStates) {
                searchBatch();
                settle([&](std::string_view text) { return contains(text, key) ? rank : kNone; });
                continue;
            }
            if (batchStates + states > mostStates) searchBatch();
            batchStates += states;
            batch.push_back(key);
            batchRanks.push_back(rank);
        }
        searchBatch();
        return std::move(found);
    }

private:
    void searchBatch() {
        if (batch.empty()) return;
        const KeyAutomaton automaton(batch);
        settle([&](std::string_view text) {
            const std::uint32_t first = automaton.firstWithin(text);
            return first == KeyAutomaton::kNone ? kNone : batchRanks[first];
        });
        batch.clear();
        batchRanks.clear();
        batchStates = 0;
    }

    /// Calls `rankIn` for every open text and closes those with a key.
    template <typename RankIn>
    void settle(const RankIn& rankIn) {
        const auto isSettled = [&](std::size_t i) { return (found[i] = rankIn(texts[i])) != kNone; };
        open.erase(std::remove_if(open.begin(), open.end(), isSettled), open.end());
    }

    const ContainedKeySearch& search;
    const std::vector<std::string_view>& texts;
    std::vector<std::size_t> found;  // ranks, by text
    std::vector<std::size_t> open;   // texts without an answer
    std::size_t longestText = 0;
    std::size_t mostStates = 0;
    std::vector<std::string_view> batch;  // keys that are searched for together
    std::vector<std::size_t> batchRanks;
    std::size_t batchStates = 0;
};

ContainedKeySearch::ContainedKeySearch(std::vector<std::string_view> sortedKeys) : keys(std::move(sortedKeys)) {
    for (std::size_t rank = 0; rank < keys.size(); ++rank) {
        // In byte order, the texts that begin with a key follow it directly.
        if (leading.empty() || !beginsWith(keys[rank], keys[leading.back()])) leading.push_back(rank);
    }
}

std::vector<std::size_t> ContainedKeySearch::firstWithinEach(const std::vector<std::string_view>& texts) const {
    return Pass(*this, texts).run();
}

std::size_t ContainedKeySearch::firstWithin(std::string_view text) const {
    std::size_t best = kNone;
    for (std::size_t begin = 0; begin <= text.size(); ++begin) {
        const std::string_view rest = text.substr(begin);
        // Only the greatest leading key that is not above the rest of the text can begin here.
        const auto next =
            std::upper_bound(leading.begin(), leading.end(), rest,
                             [&](std::string_view wanted, std::size_t rank) { return wanted < keys[rank]; });
        if (next == leading.begin()) continue;
        const std::size_t rank = *std::prev(next);
        if (rank < best && beginsWith(rest, keys[rank])) best = rank;
    }
    return best;
}

}  // namespace diskmgt_col
