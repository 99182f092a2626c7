// ContainedKeySearch and isSubString: the quick search gives exactly what the plain one gives.
#include "provider/contained_key_search.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <vector>

#include "provider/disk_info_associator.h"

namespace diskmgt_col {
namespace {

constexpr std::size_t kNone = ContainedKeySearch::kNone;

std::vector<std::string_view> viewsOf(const std::vector<std::string>& keys) { return {keys.begin(), keys.end()}; }

/// The first key, in key order, that lies within the text: found the plain way.
std::size_t plainSearch(const std::vector<std::string>& sortedKeys, const std::string& text) {
    const InstanceIndexEntry containing(text, nullptr);
    const auto found = std::find_if(sortedKeys.begin(), sortedKeys.end(), [&](const std::string& key) {
        return isSubString(containing, InstanceIndexEntry(key, nullptr));
    });
    return found == sortedKeys.end() ? kNone : static_cast<std::size_t>(found - sortedKeys.begin());
}

std::size_t quickSearch(const std::vector<std::string>& keys, const std::string& text) {
    return ContainedKeySearch(viewsOf(keys)).firstWithin(text);
}

TEST(ContainedKeySearch, WithoutKeysNothingIsFound) {
    EXPECT_EQ(quickSearch({}, ""), kNone);
    EXPECT_EQ(quickSearch({}, "/dev/sda"), kNone);
}

TEST(ContainedKeySearch, TheEmptyKeyLiesWithinAnyText) {
    EXPECT_EQ(quickSearch({"", "/dev/sda"}, ""), 0U);
    EXPECT_EQ(quickSearch({"", "/dev/sda"}, "/dev/sda1"), 0U);
}

TEST(ContainedKeySearch, OfSeveralTheLowestRankCountsNotTheLongestOrFirstToEnd) {
    EXPECT_EQ(quickSearch({"/dev/sda", "/dev/sdaa"}, "/dev/sdaa1"), 0U);
    EXPECT_EQ(quickSearch({"abcd", "bc"}, "abcde"), 0U);
    EXPECT_EQ(quickSearch({"z", "a"}, "az"), 0U);
}

TEST(ContainedKeySearch, OfEqualKeysTheFirstCounts) { EXPECT_EQ(quickSearch({"x", "k", "k"}, "-k-"), 1U); }

TEST(ContainedKeySearch, AKeyLongerThanTheTextIsNotFound) { EXPECT_EQ(quickSearch({"/dev/sda1"}, "/dev/sda"), kNone); }

TEST(ContainedKeySearch, EveryByteValueIsAByteLikeAnyOther) {
    const std::string key("\0\xff\x80", 3);
    EXPECT_EQ(quickSearch({key}, std::string("a\0\xff\x80z", 5)), 0U);
    EXPECT_EQ(quickSearch({key}, std::string("a\0\xff", 3)), kNone);
}

TEST(IsSubString, EqualKeysMatchAndDirectionCounts) {
    const InstanceIndexEntry disk("/dev/sda", nullptr);
    const InstanceIndexEntry partition("/dev/sda1", nullptr);
    const InstanceIndexEntry empty("", nullptr);
    EXPECT_TRUE(isSubString(disk, disk));
    EXPECT_TRUE(isSubString(partition, disk));
    EXPECT_FALSE(isSubString(disk, partition));
    EXPECT_TRUE(isSubString(disk, empty));
    EXPECT_FALSE(isSubString(empty, disk));
}

/// Keys that contain each other often: few letters, or device names.
rc::Gen<std::string> anyKey() {
    return rc::gen::oneOf(
        rc::gen::container<std::string>(rc::gen::element('a', 'b', '/')),
        rc::gen::map(
            rc::gen::pair(rc::gen::element<std::string>("/dev/sd", "/dev/nvme0n", "/dev/md", "Unknown", ""),
                          rc::gen::inRange(0, 30)),
            [](const std::pair<std::string, int>& parts) { return parts.first + std::to_string(parts.second); }),
        rc::gen::container<std::string>(rc::gen::arbitrary<char>()),
        rc::gen::mapcat(rc::gen::inRange<std::size_t>(1, 301), [](std::size_t length) {
            return rc::gen::container<std::string>(length, rc::gen::element('a', 'b'));
        }));
}

TEST(ContainedKeySearch, EqualsThePlainSearchOnAnyKeys) {
    EXPECT_TRUE(rc::check("equals the plain search", [] {
        auto keys = *rc::gen::container<std::vector<std::string>>(anyKey());
        std::sort(keys.begin(), keys.end());
        const auto texts = *rc::gen::container<std::vector<std::string>>(anyKey());
        const ContainedKeySearch search(viewsOf(keys));
        for (const std::string& text : texts) RC_ASSERT(search.firstWithin(text) == plainSearch(keys, text));
        for (const std::string& key : keys) RC_ASSERT(search.firstWithin(key) == plainSearch(keys, key));
    }));
}

}  // namespace
}  // namespace diskmgt_col
