// Access to property maps for tests.
#pragma once

#include <iterator>
#include <string>
#include <vector>

#include "base/property_map.h"

namespace diskmgt_test {

using diskmgt_col::PropertyMap;
using PropertyMaps = std::vector<PropertyMap>;

/// The newest value of that name, which counts; "(absent)" without one.
inline std::string valueOf(const PropertyMap& map, const std::string& name) {
    const auto [first, end] = map.equal_range(name);
    return first == end ? "(absent)" : std::prev(end)->second;
}

/// Every value of that name, oldest first.
inline std::vector<std::string> allValuesOf(const PropertyMap& map, const std::string& name) {
    std::vector<std::string> values;
    const auto [first, end] = map.equal_range(name);
    for (auto pair = first; pair != end; ++pair) values.push_back(pair->second);
    return values;
}

/// The newest value of that name in each map.
inline std::vector<std::string> valuesOf(const PropertyMaps& maps, const std::string& name) {
    std::vector<std::string> values;
    for (const PropertyMap& map : maps) values.push_back(valueOf(map, name));
    return values;
}

}  // namespace diskmgt_test
