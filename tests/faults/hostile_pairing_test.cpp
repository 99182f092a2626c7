// Keys made to exhaust the host's memory while instances are paired: the searched texts bound the memory of the search,
// not the keys.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "provider/contained_key_search.h"
#include "tests/faults/allocation_faults.h"

namespace {

using diskmgt_col::ContainedKeySearch;
using diskmgt_test::PeakMemory;

constexpr std::size_t kMiB = std::size_t{1} << 20;
constexpr std::size_t kNone = ContainedKeySearch::kNone;

/// The given number of different texts of that length, in byte order.
std::vector<std::string> numbered(std::size_t count, std::size_t length) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(1000000 + i);
        std::string text = "/dev/" + number;
        while (text.size() < length) text += "/" + number;  // common prefixes are only a few bytes long
        texts.push_back(text.substr(0, length));
    }
    return texts;
}

struct Searched {
    std::size_t peakBytes;
    std::vector<std::size_t> found;
};

/// The keys themselves are not counted.
Searched search(const std::vector<std::string>& keys, const std::vector<std::string>& texts) {
    const PeakMemory peak;
    const ContainedKeySearch keySearch(std::vector<std::string_view>(keys.begin(), keys.end()));
    const auto found = keySearch.firstWithinEach(std::vector<std::string_view>(texts.begin(), texts.end()));
    return {peak.bytes(), found};
}

TEST(HostilePairingMemory, KeysLongerThanEveryTextTakeNoMemory) {
    const auto pages = search(numbered(4000, 4000), numbered(10000, 12));
    EXPECT_LT(pages.peakBytes, kMiB);
    EXPECT_EQ(pages.found, std::vector<std::size_t>(10000, kNone));
    const auto lines = search(numbered(100000, 100), numbered(10000, 15));
    EXPECT_LT(lines.peakBytes, 6 * kMiB);
    EXPECT_EQ(lines.found, std::vector<std::size_t>(10000, kNone));
}

TEST(HostilePairingMemory, OneLongTextDoesNotMakeRoomForEveryKey) {
    const auto keys = numbered(100000, 100);
    auto texts = numbered(10000, 15);
    texts.push_back(std::string(50, '-') + keys[77777] + std::string(50, '-'));
    const auto searched = search(keys, texts);
    EXPECT_LT(searched.peakBytes, 10 * kMiB);
    EXPECT_EQ(searched.found.back(), 77777U);
}

TEST(HostilePairingMemory, WithoutTextsOnlyTheListOfKeysIsMade) {
    EXPECT_LT(search(numbered(4000, 4000), {}).peakBytes, kMiB);
}

TEST(HostilePairingMemory, LongTextsTakeAtMostTwiceTheirSize) {
    const auto texts = numbered(4000, 4000);
    const auto drives = search(numbered(1000, 12), texts);
    EXPECT_LT(drives.peakBytes, kMiB);
    EXPECT_EQ(drives.found.front(), 0U);
    const auto same = search(texts, texts);
    EXPECT_LT(same.peakBytes, 32 * kMiB);
    for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(same.found[i], i);
}

TEST(HostilePairingMemory, ManyKeysOfFewBytesStayWithinTheSame) {
    std::vector<std::string> keys;
    for (int i = 0; i < 1 << 18; ++i)
        keys.push_back({static_cast<char>(i >> 12), static_cast<char>(i >> 4 & 0xff), static_cast<char>(i << 4)});
    std::sort(keys.begin(), keys.end());
    const auto searched = search(keys, numbered(100, 15));
    EXPECT_LT(searched.peakBytes, 14 * kMiB);  // 10 of them the lists of keys
}

}  // namespace
