// Sysfs texts, compared with the standard library's reading of lines and numbers.
#include "collect/sysfs_text.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <string>

#include "fuzz/target.h"
#include "tests/support/fake_os.h"

namespace {

using diskmgt_fuzz::require;

/// What a text stream makes of the number at the start of the text, by hand: blanks, a sign, digits. A number that
/// does not fit is missing; a negative one wraps at 2^64 when the type is unsigned.
template <typename Number>
Number byHand(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size() && std::string(" \t\n\v\f\r").find(text[at]) != std::string::npos) ++at;
    const bool isNegative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) ++at;
    __extension__ using Wide = unsigned __int128;
    Wide value = 0;
    const Wide most = static_cast<Wide>(std::numeric_limits<Number>::max()) +
                      (isNegative && std::numeric_limits<Number>::is_signed ? 1 : 0);
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = value * 10 + static_cast<Wide>(text[at] - '0');
        if (value > most) return 0;
    }
    return static_cast<Number>(isNegative ? -value : value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    diskmgt_test::FakeOs machine;
    machine.keepNoTexts().file("/sys/block/sda/size", content);

    std::istringstream stream(content);
    const bool isEmpty = stream.peek() == std::istringstream::traits_type::eof();
    std::string line;
    std::getline(stream, line);
    line.resize(std::min(line.size(), diskmgt_col::kSysfsTextSize));
    const std::optional<std::string> found = diskmgt_col::firstLineOf("/sys/block/sda/size");
    require(found.has_value() == !isEmpty, "an empty file has no line, every other one has");
    require(found.value_or("") == line, "both read the same line");
    require(!diskmgt_col::firstLineOf("/sys/block/sdb/size"), "a missing file has no line");
    require(machine.openHandles() == 0, "everything that was opened is closed");

    require(diskmgt_col::sectorCountFrom(line) == byHand<unsigned long>(line), "both read the same sector count");
    require(diskmgt_col::majorNumberFrom(line) == byHand<int>(line.substr(0, line.find(':'))),
            "both read the same major number");
    return 0;
}
