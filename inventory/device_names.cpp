// Digits, and the "p" that sets them apart.
#include "inventory/device_names.h"

#include <algorithm>
#include <string_view>

namespace diskmgt {

namespace {

bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }

bool areDigits(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isDigit); }

}  // namespace

bool isOnDrive(const std::string& device, const std::string& driveName) {
    if (driveName.empty() || device.compare(0, driveName.size(), driveName) != 0) return false;
    std::string_view rest = std::string_view(device).substr(driveName.size());
    if (rest.empty()) return true;
    if (isDigit(driveName.back())) {
        if (rest.front() != 'p') return false;
        rest.remove_prefix(1);
    }
    return areDigits(rest);
}

bool isPartitionOf(const std::string& partition, const std::string& driveName) {
    if (isOnDrive(partition, driveName)) return true;
    return partition.compare(0, driveName.size(), driveName) == 0 &&
           areDigits(std::string_view(partition).substr(driveName.size()));
}

std::string driveNameOf(const std::string& partitionName) {
    std::string name = partitionName;
    while (!name.empty() && isDigit(name.back())) name.pop_back();
    if (name.size() > 1 && name.back() == 'p' && isDigit(name[name.size() - 2])) name.pop_back();
    return name;
}

}  // namespace diskmgt
