// Sizes for people: in the largest binary unit that leaves at least 1, to the nearest tenth.
#pragma once

#include <cstdint>
#include <string>

namespace diskmgt {

/// For columns: "512B", "1M", "931.5G".
std::string compactSize(std::uint64_t bytes);

/// For sentences and pages: "512 B", "1 MiB", "931.5 GiB".
std::string sizeText(std::uint64_t bytes);

}  // namespace diskmgt
