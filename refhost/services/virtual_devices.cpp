#include "refhost/services/virtual_devices.h"

#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string_view>
#include <system_error>

namespace refhost {

namespace {

namespace fs = std::filesystem;

std::mutex settingsMutex;

VirtualDeviceSettings& currentSettings() {
    static VirtualDeviceSettings& kept = *new VirtualDeviceSettings;  // never destroyed: used until the end
    return kept;
}

/// The first line without padding blanks; empty when it cannot be read.
std::string attribute(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    const std::size_t begin = line.find_first_not_of(" \t\r");
    if (begin == std::string::npos) return {};
    return line.substr(begin, line.find_last_not_of(" \t\r") + 1 - begin);
}

/// Whether the entry, a link of sysfs to the device, names a place beneath a USB controller. Resolving the link takes a
/// call for every folder on the way, so only the few entries that need it are resolved.
bool mayHangOnUsb(const std::string& entry) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(entry.c_str(), target, sizeof target);
    if (length < 0) return true;  // not a link: its own name decides
    return std::string_view(target, static_cast<std::size_t>(length)).find("/usb") != std::string_view::npos;
}

/// The same for the resolved place below the root of sysfs; false when it does not exist.
bool hangsOnUsb(const fs::path& entry, const std::string& sysfsRoot) {
    std::error_code failure;
    const fs::path resolved = fs::canonical(entry, failure);
    if (failure) return false;
    const fs::path root = fs::canonical(sysfsRoot, failure);
    if (failure) return false;
    return ("/" + resolved.lexically_relative(root).string()).find("/usb") != std::string::npos;
}

}  // namespace

std::vector<std::string> findVirtualDevices(const std::string& sysfsRoot) {
    std::vector<std::string> found;
    std::error_code failure;
    fs::directory_iterator entry(fs::path(sysfsRoot) / "block", failure);
    for (; !failure && entry != fs::directory_iterator(); entry.increment(failure)) {
        const fs::path& path = entry->path();
        if (!mayHangOnUsb(path.native()) || !hangsOnUsb(path, sysfsRoot)) continue;
        const std::string vendor = attribute(path / "device" / "vendor");
        const std::string model = attribute(path / "device" / "model");
        if (vendor.find("Virtual") == std::string::npos && model.find("Virtual") == std::string::npos) continue;
        std::string name = path.filename().string();
        std::replace(name.begin(), name.end(), '!', '/');  // sysfs writes / as !
        std::string text = "/dev/" + name + ":";
        for (const std::string& word : {vendor, model})
            if (!word.empty()) text += " " + word;
        found.push_back(std::move(text));
    }
    std::sort(found.begin(), found.end());
    return found;
}

void setVirtualDevices(const VirtualDeviceSettings& settings) {
    const std::lock_guard<std::mutex> guard(settingsMutex);
    currentSettings() = settings;
}

std::vector<std::string> currentVirtualDevices() {
    VirtualDeviceSettings settings;
    {
        const std::lock_guard<std::mutex> guard(settingsMutex);
        settings = currentSettings();
    }
    std::vector<std::string> devices;
    if (settings.discover) devices = findVirtualDevices("/sys");
    devices.insert(devices.end(), settings.added.begin(), settings.added.end());
    return devices;
}

}  // namespace refhost
