#include "machine/disk_links.h"

#include <climits>
#include <string_view>

#include "machine/files.h"
#include "machine/texts.h"

namespace diskmgt_machine {

std::map<std::string, std::vector<DiskLink>> readDiskLinks() {
    std::map<std::string, std::vector<DiskLink>> links;
    const std::string top = "/dev/disk/";
    for (const std::string& folder : readNamesIn(top)) {
        if (folder.compare(0, 3, "by-") != 0) continue;
        const std::string place = std::string(top).append(folder);
        for (const std::string& name : readNamesIn(place)) {
            char target[PATH_MAX];
            const std::string link = std::string(place).append("/").append(name);
            const ssize_t length = diskmgt_col::os::readLink(link, target, sizeof target);
            if (length <= 0) continue;
            std::string_view device(target, static_cast<std::size_t>(length));
            constexpr std::string_view kUp = "../../";  // as udev writes them
            constexpr std::string_view kDev = "/dev/";
            if (device.substr(0, kUp.size()) == kUp)
                device.remove_prefix(kUp.size());
            else if (device.substr(0, kDev.size()) == kDev)
                device.remove_prefix(kDev.size());
            else
                continue;
            links[std::string(device)].push_back({folder, withoutHexEscapes(name)});
        }
    }
    return links;
}

}  // namespace diskmgt_machine
