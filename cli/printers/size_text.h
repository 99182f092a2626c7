// Sizes for people.
#pragma once

#include <cstdint>
#include <string>

namespace diskmgt_cli {

/// In the largest binary unit that it fills, three digits where it is no whole number: "512 B", "1.82 TiB".
std::string sizeText(std::uint64_t bytes);

}  // namespace diskmgt_cli
