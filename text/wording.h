// Lists and counts as sentences and cells name them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace diskmgt {

template <typename Value>
bool contains(const std::vector<Value>& values, const typename std::vector<Value>::value_type& value) {
    return std::find(values.begin(), values.end(), value) != values.end();
}

std::string joined(const std::vector<std::string>& texts, const char* between);
/// "A", "A or B", "A, B or C".
std::string joinedWithOr(const std::vector<std::string>& texts);
/// "A", "A and B", "A, B and C"; past eight texts the rest is a count.
std::string listed(const std::vector<std::string>& texts);

/// "no disks", "1 disk", "2 disks".
std::string counted(std::uint64_t count, const std::string& noun);

/// The shortest text that gives the number back: "30", "0.5".
std::string decimalText(double number);

/// Why a GPT with this number of entries is not taken for one: "it says that it has -1 entries".
std::string refusalOfCount(std::int32_t entryCount);

/// ", did you mean A or B?"; empty when there is nothing to propose.
std::string didYouMean(const std::vector<std::string>& proposals);

}  // namespace diskmgt
