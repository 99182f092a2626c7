// The only conversion of values to text, and the only splitting of text.
#pragma once

#include <string>
#include <vector>

namespace diskmgt_col {

/// Plain decimal for integers (no padding, no grouping, in any locale of the process), the one character for a
/// char, the text itself for a C string; a null C string gives the empty text.
/// Defined for const char*, char*, unsigned long, unsigned int, char and int.
template <typename T>
std::string dataToString(T value);

template <>
std::string dataToString(const char* text);
template <>
std::string dataToString(char* text);
template <>
std::string dataToString(unsigned long value);
template <>
std::string dataToString(unsigned int value);
template <>
std::string dataToString(char value);
template <>
std::string dataToString(int value);

/// The non-empty pieces of `text` between delimiters, in order. White space is kept. `text` is not changed.
std::vector<std::string> multiStringTok(std::string& text, char delimiter);

}  // namespace diskmgt_col
