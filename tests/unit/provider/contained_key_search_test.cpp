// ContainedKeySearch and isSubString: the fast searches give the same results as the plain one.
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

std::vector<std::string_view> viewsOf(const std::vector<std::string>& texts) { return {texts.begin(), texts.end()}; }

/// The first key, in key order, that lies within the text, by plain search.
std::size_t plainSearch(const std::vector<std::string>& sortedKeys, const std::string& text) {
    const InstanceIndexEntry containing(text, nullptr);
    const auto found = std::find_if(sortedKeys.begin(), sortedKeys.end(), [&](const std::string& key) {
        return isSubString(containing, InstanceIndexEntry(key, nullptr));
    });
    return found == sortedKeys.end() ? kNone : static_cast<std::size_t>(found - sortedKeys.begin());
}

std::vector<std::size_t> plainSearches(const std::vector<std::string>& sortedKeys,
                                       const std::vector<std::string>& texts) {
    std::vector<std::size_t> found;
    for (const std::string& text : texts) found.push_back(plainSearch(sortedKeys, text));
    return found;
}

/// Searches in both ways, which must agree.
std::size_t quickSearch(const std::vector<std::string>& sortedKeys, const std::string& text) {
    const ContainedKeySearch search(viewsOf(sortedKeys));
    const std::size_t found = search.firstWithin(text);
    EXPECT_EQ(search.firstWithinEach({text}), std::vector<std::size_t>{found});
    return found;
}

TEST(ContainedKeySearch, WithoutKeysNothingIsFound) {
    EXPECT_EQ(quickSearch({}, ""), kNone);
    EXPECT_EQ(quickSearch({}, "/dev/sda"), kNone);
}

TEST(ContainedKeySearch, WithoutTextsThereIsNothingToFind) {
    EXPECT_TRUE(ContainedKeySearch({"/dev/sda"}).firstWithinEach({}).empty());
}

TEST(ContainedKeySearch, TheEmptyKeyLiesWithinAnyText) {
    EXPECT_EQ(quickSearch({"", "/dev/sda"}, ""), 0U);
    EXPECT_EQ(quickSearch({"", "/dev/sda"}, "/dev/sda1"), 0U);
    EXPECT_EQ(ContainedKeySearch({""}).firstWithinEach({std::string_view()}), std::vector<std::size_t>{0});
}

TEST(ContainedKeySearch, OfSeveralTheLowestRankCountsNotTheLongestOrFirstToEnd) {
    EXPECT_EQ(quickSearch({"/dev/sda", "/dev/sdaa"}, "/dev/sdaa1"), 0U);
    EXPECT_EQ(quickSearch({"abcd", "bc"}, "abcde"), 0U);
    EXPECT_EQ(quickSearch({"a", "z"}, "za"), 0U);
    EXPECT_EQ(quickSearch({"ab", "b"}, "bab"), 0U);
}

TEST(ContainedKeySearch, OfEqualKeysTheFirstCounts) { EXPECT_EQ(quickSearch({"a", "k", "k"}, "-k-"), 1U); }

TEST(ContainedKeySearch, AKeyLongerThanTheTextIsNotFound) { EXPECT_EQ(quickSearch({"/dev/sda1"}, "/dev/sda"), kNone); }

TEST(ContainedKeySearch, EveryByteValueIsAByteLikeAnyOther) {
    const std::string key("\0\xff\x80", 3);
    EXPECT_EQ(quickSearch({key}, std::string("a\0\xff\x80z", 5)), 0U);
    EXPECT_EQ(quickSearch({key}, std::string("a\0\xff", 3)), kNone);
    EXPECT_EQ(quickSearch({"\x01", "\xff"}, "a\xff"), 1U);  // bytes are unsigned
}

TEST(ContainedKeySearch, EachTextHasItsOwnAnswerInTheOrderOfTheTexts) {
    const ContainedKeySearch search({"/dev/sda", "/dev/sdb", "/dev/sdc"});
    EXPECT_EQ(search.firstWithinEach({"/dev/sdc1", "/dev/sdx", "/dev/sda1", "", "/dev/sdc2"}),
              (std::vector<std::size_t>{2, kNone, 0, kNone, 2}));
}

/// Keys that take more states than one automaton may have: thousands of long ones.
std::vector<std::string> manyLongKeys() {
    std::vector<std::string> keys;
    for (int i = 0; i < 3000; ++i)
        keys.push_back(std::to_string(1000 + i) + std::string(300, static_cast<char>('a' + i % 7)));
    std::sort(keys.begin(), keys.end());
    return keys;
}

TEST(ContainedKeySearch, KeysBeyondOneBatchAreFoundAndTheFirstBatchsStillCountFirst) {
    const std::vector<std::string> keys = manyLongKeys();
    const std::vector<std::string> texts = {
        keys[2999], keys[1500] + keys[0], "-" + keys[2500] + keys[1700], keys[10].substr(1), keys[2999] + keys[2998],
    };
    EXPECT_EQ(ContainedKeySearch(viewsOf(keys)).firstWithinEach(viewsOf(texts)),
              (std::vector<std::size_t>{2999, 0, 1700, kNone, 2998}));
}

TEST(ContainedKeySearch, AKeyTooLongForAnyAutomatonIsFoundLikeAnyOther) {
    const std::string longKey = "b" + std::string(600000, 'l');
    const std::vector<std::string> keys = {"a", longKey, "c", longKey.substr(1) + "z"};
    const std::vector<std::string> texts = {
        "-" + longKey, longKey + "a", longKey.substr(1) + "zc", longKey.substr(1) + "z", longKey.substr(0, 600000), "c",
    };
    EXPECT_EQ(ContainedKeySearch(viewsOf(keys)).firstWithinEach(viewsOf(texts)),
              (std::vector<std::size_t>{1, 0, 2, 3, kNone, 2}));
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

/// Keys that contain each other often: few letters, device names, or long runs.
rc::Gen<std::string> anyKey() {
    return rc::gen::oneOf(
        rc::gen::container<std::string>(rc::gen::element('a', 'b', '/')),
        rc::gen::map(
            rc::gen::pair(rc::gen::element<std::string>("/dev/sd", "/dev/nvme0n", "/dev/md", "Unknown", ""),
                          rc::gen::inRange(0, 30)),
            [](const std::pair<std::string, int>& parts) { return parts.first + std::to_string(parts.second); }),
        rc::gen::container<std::string>(rc::gen::arbitrary<char>()),
        rc::gen::container<std::string>(rc::gen::element('\0', '\x7f', '\x80', '\xff')),
        rc::gen::mapcat(rc::gen::inRange<std::size_t>(1, 301), [](std::size_t length) {
            return rc::gen::container<std::string>(length, rc::gen::element('a', 'b'));
        }));
}

std::vector<std::string> someSortedKeys() {
    auto keys = *rc::gen::container<std::vector<std::string>>(anyKey());
    std::sort(keys.begin(), keys.end());
    return keys;
}

TEST(ContainedKeySearch, EqualsThePlainSearchOnAnyKeys) {
    EXPECT_TRUE(rc::check("equals the plain search", [] {
        const auto keys = someSortedKeys();
        auto texts = *rc::gen::container<std::vector<std::string>>(anyKey());
        texts.insert(texts.end(), keys.begin(), keys.end());
        const ContainedKeySearch search(viewsOf(keys));
        const auto found = search.firstWithinEach(viewsOf(texts));
        RC_ASSERT(found == plainSearches(keys, texts));
        for (std::size_t i = 0; i < texts.size(); ++i) RC_ASSERT(search.firstWithin(texts[i]) == found[i]);
    }));
}

/// Texts joined from pieces of keys, so that most contain several keys and nearly contain others.
TEST(ContainedKeySearch, EqualsThePlainSearchOnTextsMadeOfKeys) {
    EXPECT_TRUE(rc::check("equals the plain search", [] {
        const auto keys = someSortedKeys();
        RC_PRE(!keys.empty());
        std::vector<std::string> texts;
        for (int i = *rc::gen::inRange(0, 20); i > 0; --i) {
            std::string text;
            for (int pieces = *rc::gen::inRange(0, 4); pieces > 0; --pieces) {
                const std::string key = *rc::gen::elementOf(keys);
                text += key.substr(*rc::gen::inRange<std::size_t>(0, 2) * key.size() / 3,
                                   *rc::gen::inRange<std::size_t>(0, 400));
            }
            texts.push_back(text);
        }
        const ContainedKeySearch search(viewsOf(keys));
        const auto found = search.firstWithinEach(viewsOf(texts));
        RC_ASSERT(found == plainSearches(keys, texts));
        for (std::size_t i = 0; i < texts.size(); ++i) RC_ASSERT(search.firstWithin(texts[i]) == found[i]);
    }));
}

}  // namespace
}  // namespace diskmgt_col
