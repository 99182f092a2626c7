// Where sysfs keeps the identity depends on the kind of drive: every place is tried.
#include "cli/inventory/drive_identity.h"

#include <fcntl.h>

#include <algorithm>
#include <initializer_list>
#include <string_view>

#include "base/handles.h"
#include "collect/device_rules.h"

namespace diskmgt_cli {

namespace {

using namespace diskmgt_col;

/// A folder of sysfs. What is in it is found from the folder on: the way to it leads over links.
class Folder {
public:
    explicit Folder(const std::string& path) : folder(::open(path.c_str(), kFlags)) {}
    Folder(const Folder& parent, const char* name)
        : folder(parent.folder.valid() ? ::openat(parent.folder.get(), name, kFlags) : -1) {}

    /// At most a page, as sysfs has it; empty when it cannot be read.
    std::string contents(const char* name) const {
        if (!folder.valid()) return {};
        const UniqueFd file(::openat(folder.get(), name, O_RDONLY | O_CLOEXEC));
        char page[4096];
        const ssize_t got = file.valid() ? os::readSome(file.get(), page, sizeof page) : 0;
        return got > 0 ? std::string(page, static_cast<std::size_t>(got)) : std::string();
    }

private:
    static constexpr int kFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

    UniqueFd folder;
};

/// Without the blanks and zeros that fill the fields of a drive's answer.
std::string trimmed(const std::string& text) {
    const std::string_view fill("\0 \t\r\n", 5);
    const std::size_t first = text.find_first_not_of(fill);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(fill) - first + 1);
}

struct Place {
    const Folder& folder;
    const char* name;
};

std::string firstOf(std::initializer_list<Place> places) {
    for (const Place& place : places) {
        std::string text = trimmed(place.folder.contents(place.name));
        if (!text.empty()) return text;
    }
    return {};
}

/// The serial number of a SCSI or SATA drive, from the page of its own data that the kernel keeps.
std::string serialOfPage(const std::string& page) {
    constexpr std::size_t kHeaderSize = 4;  // device type, page number, length
    return page.size() > kHeaderSize ? trimmed(page.substr(kHeaderSize)) : std::string();
}

}  // namespace

DriveIdentity readDriveIdentity(const std::string& device) {
    constexpr std::string_view kFolder = "/dev/";
    if (device.compare(0, kFolder.size(), kFolder) != 0) return {};
    std::string name = device.substr(kFolder.size());
    std::replace(name.begin(), name.end(), '/', '!');  // as sysfs writes names with a slash
    const Folder entry(kBlockDirectory + name);
    const Folder hardware(entry, "device");
    DriveIdentity identity;
    identity.model = firstOf({{hardware, "model"}, {hardware, "name"}});
    identity.serial = firstOf({{hardware, "serial"}, {entry, "serial"}});
    if (identity.serial.empty()) identity.serial = serialOfPage(hardware.contents("vpd_pg80"));
    identity.wwid = firstOf({{entry, "wwid"}, {hardware, "wwid"}});
    return identity;
}

}  // namespace diskmgt_cli
