// What the kernel's error numbers say to people.
#pragma once

#include <string>

namespace diskmgt {

/// "Permission denied".
std::string errorText(int errorNumber);
/// Whether it says that rights are missing.
bool isRefusal(int errorNumber);
/// The error's text with what to do about it.
std::string failureText(int errorNumber);

}  // namespace diskmgt
