// Integers all the way, so that 2^64 - 1 bytes are no special case.
#include "text/size_text.h"

#include <cstddef>
#include <iterator>

namespace diskmgt {

namespace {

struct Scaled {
    std::string number;
    std::size_t unit;  // the power of 1024
};

constexpr char kUnits[] = {'B', 'K', 'M', 'G', 'T', 'P', 'E'};

Scaled scaled(std::uint64_t bytes) {
    std::size_t unit = 0;
    std::uint64_t unitSize = 1;
    for (; unit + 1 < std::size(kUnits) && bytes / unitSize >= 1024; ++unit) unitSize *= 1024;
    std::uint64_t whole = bytes / unitSize;
    std::uint64_t tenths = (bytes % unitSize * 10 + unitSize / 2) / unitSize;  // the rest is below 2^60
    if (tenths == 10) {
        ++whole;
        tenths = 0;
    }
    if (whole == 1024) {  // rounded up to the next unit, which exists: 16 EiB is the most there is
        whole = 1;
        ++unit;
    }
    return {std::to_string(whole) + (tenths == 0 ? "" : "." + std::to_string(tenths)), unit};
}

}  // namespace

std::string compactSize(std::uint64_t bytes) {
    const auto [number, unit] = scaled(bytes);
    return number + kUnits[unit];
}

std::string sizeText(std::uint64_t bytes) {
    const auto [number, unit] = scaled(bytes);
    return number + " " + kUnits[unit] + (unit == 0 ? "" : "iB");
}

}  // namespace diskmgt
