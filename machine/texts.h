// The small texts of sysfs, /proc and udev: lines, fields, numbers and escapes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace diskmgt_machine {

bool startsWith(std::string_view text, std::string_view beginning);
/// The text up to its first line end.
std::string_view firstLineIn(std::string_view text);
/// The lines of a text without their ends; the last may lack its end.
std::vector<std::string_view> linesIn(std::string_view text);
/// The pieces between single blanks, empty ones included.
std::vector<std::string_view> fieldsIn(std::string_view line);
/// The text without blanks, line ends and zero bytes at its ends.
std::string_view trimmed(std::string_view text);

/// A number of digits only; nothing for any other text or when it does not fit.
std::optional<std::uint64_t> decimalFrom(std::string_view text);

/// The bytes of so many units; nothing for what is no number or when it does not fit.
std::optional<std::uint64_t> bytesFrom(std::string_view count, std::uint64_t unit);
/// sysfs and udev count in such units, not in the device's sectors.
constexpr std::uint64_t kSectorUnit = 512;

/// sysfs writes a node in a folder of /dev with "!": "cciss!c0d0" is that of /dev/cciss/c0d0.
std::string nodeOfSysfsName(std::string name);
std::string sysfsNameOfNode(std::string nodeBelowDev);

/// "\040" becomes a blank, as the kernel writes blanks in mount points. Anything else stays unchanged.
std::string withoutOctalEscapes(std::string_view text);
/// "\x20" becomes a blank, as udev writes blanks in labels. Anything else stays unchanged.
std::string withoutHexEscapes(std::string_view text);

}  // namespace diskmgt_machine
