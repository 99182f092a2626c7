// Reading the small files of sysfs and /proc. No device is opened.
#pragma once

#include <string>
#include <vector>

#include "base/handles.h"

namespace diskmgt_machine {

struct WholeFile {
    std::string text;
    int error = 0;  // why it could not be opened or read to its end; 0: success
};
/// A file of any length, such as a table of /proc.
WholeFile readWholeFile(const std::string& path);

/// An open folder of sysfs. Its files are opened relative to it, because the path to it leads over links.
class Folder {
public:
    explicit Folder(const std::string& path) : folder(diskmgt_col::os::openDirectory(path)) {}

    bool isOpen() const { return folder != nullptr; }
    /// The names in it, without "." and "..", in the kernel's order. Works once: it uses up the listing.
    std::vector<std::string> readNames();
    /// A file, up to a page, the most that sysfs gives; empty when it cannot be read.
    std::string page(const std::string& name) const;
    /// The first line of that page.
    std::string line(const std::string& name) const;

private:
    diskmgt_col::UniqueDirectory folder;
};

/// The names in a folder; empty when it cannot be opened.
std::vector<std::string> readNamesIn(const std::string& path);

}  // namespace diskmgt_machine
