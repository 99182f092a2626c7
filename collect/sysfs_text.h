// The small texts of sysfs: first lines, and the numbers in them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace diskmgt_col {

/// The most that is read of a text. The kernel's are at most a page long.
constexpr std::size_t kSysfsTextSize = 4096;

/// The first line of a text file, without its line end; nothing when the file is missing, unreadable or empty.
/// A line that does not end within `kSysfsTextSize` bytes is cut there.
std::optional<std::string> firstLineOf(const std::string& path);

/// The number of 512-byte sectors in the line of a "size" file; 0 when it is missing or does not fit.
unsigned long sectorCountFrom(const std::string& line);

/// The major number in the line of a "dev" file, "major:minor"; 0 when it is missing or does not fit.
int majorNumberFrom(const std::string& line);

}  // namespace diskmgt_col
