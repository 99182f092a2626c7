// What the plug-in answered, beside what is explained.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/explain/explanation.h"

namespace diskmgt {

struct PluginAnswer {
    std::optional<std::vector<std::string>> drives;
    std::optional<std::vector<std::string>> partitions;
};

/// Adds a reason to each device about which the plug-in says otherwise, and a sentence to the diagnosis.
void compareWithAnswer(const PluginAnswer& answer, Explanation& explanation);

}  // namespace diskmgt
