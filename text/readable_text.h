// Text from disks and mount tables made fit to be shown: nothing in it may steer a terminal or break an encoding.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace diskmgt {

/// Control characters (line ends, escape, DEL and the C1 range too), direction marks, and bytes that are not UTF-8 as
/// \xNN.
std::string escapedControls(const std::string& text);

/// Direction marks are the marks of writing direction, and with them all else that lets a name show as another one
/// without being seen itself: characters without width, line and paragraph separators, tags.
/// How many bytes the one takes with which the text begins; 0 when it begins otherwise.
std::size_t directionMarkLength(std::string_view text);
/// The text with U+FFFD in place of every direction mark.
std::string withoutDirectionMarks(const std::string& text);

/// The text with every direction mark as four hexadecimal digits behind `prefix`, such as "\\u202e"; as two such forms
/// past U+FFFF.
std::string withCodedDirectionMarks(const std::string& text, const char* prefix);

/// The text with U+FFFD in place of every byte that is not part of well-formed UTF-8.
std::string asUtf8(const std::string& text);

}  // namespace diskmgt
