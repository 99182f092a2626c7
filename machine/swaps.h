// The swap areas in use, as /proc/swaps lists them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace diskmgt_machine {

struct Swap {
    std::string path;
    bool isFile = false;  // in a file system, not a device
    std::uint64_t sizeBytes = 0;
    std::uint64_t usedBytes = 0;
};

/// Reads one line; nothing for the headings and any other form.
std::optional<Swap> swapFrom(std::string_view line);
std::vector<Swap> swapsIn(std::string_view text);

}  // namespace diskmgt_machine
