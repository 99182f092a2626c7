// Division by 1024 and rounding.
#include "cli/printers/size_text.h"

#include <cstddef>
#include <cstdio>

namespace diskmgt_cli {

std::string sizeText(std::uint64_t bytes) {
    static const char* const kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    std::size_t unit = 0;
    auto number = static_cast<double>(bytes);
    while (number >= 1023.5 && unit + 1 < sizeof kUnits / sizeof *kUnits) {  // what rounds to 1024 is one of the next
        number /= 1024;
        ++unit;
    }
    const bool isWhole = (bytes & ((std::uint64_t{1} << (10 * unit)) - 1)) == 0;
    const int digits = isWhole || number >= 99.95 ? 0 : number >= 9.995 ? 1 : 2;
    char text[32];
    (void)std::snprintf(text, sizeof text, "%.*f %s", digits, number, kUnits[unit]);
    return text;
}

}  // namespace diskmgt_cli
