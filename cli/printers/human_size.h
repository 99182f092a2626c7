// Sizes for people.
#pragma once

#include <cstdint>
#include <string>

namespace diskmgt_cli {

/// In the largest binary unit that leaves at least 1, to the nearest tenth: "512B", "1M", "931.5G".
std::string humanSize(std::uint64_t bytes);

}  // namespace diskmgt_cli
