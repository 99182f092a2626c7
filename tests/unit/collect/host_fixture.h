// The reference host for tests of collectors: only the given virtual devices, and its log as plain texts.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "collect/ldm_data_base.h"
#include "refhost/api/reference_host.h"

namespace diskmgt_test {

/// Options of a host that do not depend on the machine running the tests.
inline refhost::HostOptions hostWith(std::vector<std::string> virtualDevices = {}) {
    refhost::HostOptions options;
    options.systemName = "testhost";
    options.virtualDevices = std::move(virtualDevices);
    options.discoverVirtualDevices = false;
    return options;
}

/// "severity text" of every line logged so far.
inline std::vector<std::string> logLines(const refhost::ReferenceHost& host) {
    std::vector<std::string> lines;
    for (const refhost::LogLine& line : host.log()) lines.push_back(std::to_string(line.severity) + ' ' + line.text);
    return lines;
}

/// A store filled as on a platform with dynamic disks.
inline diskmgt_col::LDMStore filledStore() {
    diskmgt_col::LDMDataBase record;
    for (auto& table : record.tables) table["/dev/sda"] = {{"DeviceID", "/dev/sda9"}, {"Size", "1"}};
    for (auto& texts : record.texts) texts["/dev/sda"] = "/dev/sda9";
    return {{"", record}, {"/dev/sda", record}, {"VEXSG_DiskDrive", record}};
}

}  // namespace diskmgt_test
