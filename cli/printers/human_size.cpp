// Integers all the way, so that 2^64 - 1 bytes are no special case.
#include "cli/printers/human_size.h"

namespace diskmgt_cli {

std::string humanSize(std::uint64_t bytes) {
    constexpr char kUnits[] = {'B', 'K', 'M', 'G', 'T', 'P', 'E'};
    std::size_t unit = 0;
    std::uint64_t unitSize = 1;
    for (; unit + 1 < sizeof kUnits && bytes / unitSize >= 1024; ++unit) unitSize *= 1024;
    std::uint64_t whole = bytes / unitSize;
    std::uint64_t tenths = (bytes % unitSize * 10 + unitSize / 2) / unitSize;  // the rest is below 2^60
    if (tenths == 10) {
        ++whole;
        tenths = 0;
    }
    if (whole == 1024) {  // rounded up to the next unit, which exists: 16E is the most there is
        whole = 1;
        ++unit;
    }
    return std::to_string(whole) + (tenths == 0 ? "" : "." + std::to_string(tenths)) + kUnits[unit];
}

}  // namespace diskmgt_cli
