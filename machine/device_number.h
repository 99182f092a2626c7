// The number by which the kernel knows a block device, whatever its name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace diskmgt_machine {

struct DeviceNumber {
    std::uint32_t majorNumber = 0;  // 0: no block device, but a file system of its own
    std::uint32_t minorNumber = 0;

    bool operator==(const DeviceNumber& other) const {
        return majorNumber == other.majorNumber && minorNumber == other.minorNumber;
    }
    bool operator!=(const DeviceNumber& other) const { return !(*this == other); }
    bool operator<(const DeviceNumber& other) const {
        return std::tie(majorNumber, minorNumber) < std::tie(other.majorNumber, other.minorNumber);
    }
};

/// "8:1"; nothing when the text is anything else.
std::optional<DeviceNumber> deviceNumberFrom(std::string_view text);
std::string textOf(const DeviceNumber& number);

}  // namespace diskmgt_machine
