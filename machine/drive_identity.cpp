// The place of the identity in sysfs depends on the kind of drive: all places are tried.
#include "machine/drive_identity.h"

#include <initializer_list>
#include <string_view>

#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

struct Place {
    const Folder& folder;
    const char* name;
};

std::string firstOf(std::initializer_list<Place> places) {
    for (const Place& place : places) {
        std::string text(trimmed(place.folder.page(place.name)));
        if (!text.empty()) return text;
    }
    return {};
}

/// The serial number of a SCSI or SATA drive, from the vital product data that the kernel keeps.
std::string serialOfPage(const std::string& page) {
    constexpr std::size_t kHeaderSize = 4;  // device type, page number, length
    return page.size() > kHeaderSize ? std::string(trimmed(std::string_view(page).substr(kHeaderSize))) : std::string();
}

}  // namespace

DriveIdentity readDriveIdentity(const Folder& folder, const std::string& path) {
    const Folder hardware(path + "/device");
    DriveIdentity identity;
    identity.model = firstOf({{hardware, "model"}, {hardware, "name"}});
    identity.serial = firstOf({{hardware, "serial"}, {folder, "serial"}});
    if (identity.serial.empty()) identity.serial = serialOfPage(hardware.page("vpd_pg80"));
    identity.wwid = firstOf({{folder, "wwid"}, {hardware, "wwid"}});
    return identity;
}

}  // namespace diskmgt_machine
