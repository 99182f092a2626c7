// The number by which the kernel knows a block device, independent of its name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

namespace diskmgt_machine {

struct DeviceNumber {
    std::uint32_t majorNumber = 0;  // 0: a file system without a block device
    std::uint32_t minorNumber = 0;

    bool operator==(const DeviceNumber& other) const {
        return majorNumber == other.majorNumber && minorNumber == other.minorNumber;
    }
    bool operator!=(const DeviceNumber& other) const { return !(*this == other); }
    bool operator<(const DeviceNumber& other) const {
        return std::tie(majorNumber, minorNumber) < std::tie(other.majorNumber, other.minorNumber);
    }
};

/// Reads "8:1"; nothing for any other text.
std::optional<DeviceNumber> deviceNumberFrom(std::string_view text);
std::string textOf(const DeviceNumber& number);

}  // namespace diskmgt_machine
