#include "machine/device_number.h"

#include <limits>

#include "machine/texts.h"

namespace diskmgt_machine {

std::optional<DeviceNumber> deviceNumberFrom(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    const auto first = decimalFrom(text.substr(0, colon));
    const auto second = decimalFrom(text.substr(colon + 1));
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
    if (!first || !second || *first > kLargest || *second > kLargest) return std::nullopt;
    return DeviceNumber{static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(*second)};
}

std::string textOf(const DeviceNumber& number) {
    return std::to_string(number.majorNumber) + ":" + std::to_string(number.minorNumber);
}

}  // namespace diskmgt_machine
