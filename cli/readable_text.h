// Text from disks and mount tables made fit to be shown: nothing in it may steer a terminal or break an encoding.
#pragma once

#include <string>

namespace diskmgt_cli {

/// Control characters (line ends, escape, DEL and the C1 range too) and bytes that are not UTF-8 as \xNN.
std::string escapedControls(const std::string& text);

/// The text with U+FFFD in place of every byte that is not part of well-formed UTF-8.
std::string asUtf8(const std::string& text);

}  // namespace diskmgt_cli
