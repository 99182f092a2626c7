// Where sysfs keeps the identity depends on the kind of drive: every place is tried.
#include "cli/inventory/drive_identity.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <string_view>

#include "collect/device_rules.h"

namespace diskmgt_cli {

namespace {

/// At most a page, as sysfs has it; empty when it cannot be read.
std::string contents(const std::string& path) {
    char page[4096];
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) return {};
    file.read(page, sizeof page);
    return std::string(page, static_cast<std::size_t>(file.gcount()));
}

/// Without the blanks and zeros that fill the fields of a drive's answer.
std::string trimmed(const std::string& text) {
    const std::string_view fill("\0 \t\r\n", 5);
    const std::size_t first = text.find_first_not_of(fill);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(fill) - first + 1);
}

std::string firstOf(const std::string& directory, std::initializer_list<const char*> names) {
    for (const char* const name : names) {
        std::string text = trimmed(contents(directory + name));
        if (!text.empty()) return text;
    }
    return {};
}

/// The serial number of a SCSI or SATA drive, from the page of its own data that the kernel keeps.
std::string serialOfPage(const std::string& path) {
    constexpr std::size_t kHeaderSize = 4;  // device type, page number, length
    const std::string page = contents(path);
    return page.size() > kHeaderSize ? trimmed(page.substr(kHeaderSize)) : std::string();
}

}  // namespace

DriveIdentity readDriveIdentity(const std::string& device) {
    constexpr std::string_view kFolder = "/dev/";
    if (device.compare(0, kFolder.size(), kFolder) != 0) return {};
    std::string name = device.substr(kFolder.size());
    std::replace(name.begin(), name.end(), '/', '!');  // as sysfs writes names with a slash
    const std::string directory = diskmgt_col::kBlockDirectory + name + "/";
    DriveIdentity identity;
    identity.model = firstOf(directory, {"device/model", "device/name"});
    identity.serial = firstOf(directory, {"device/serial", "serial"});
    if (identity.serial.empty()) identity.serial = serialOfPage(directory + "device/vpd_pg80");
    identity.wwid = firstOf(directory, {"wwid", "device/wwid"});
    return identity;
}

}  // namespace diskmgt_cli
