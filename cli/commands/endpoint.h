// `diskmgt serve`: another executable, which this process becomes, so that what it links costs the command nothing.
#pragma once

namespace diskmgt {

/// Whether the command line is for it: "serve ...", "help serve".
bool isForEndpoint(int argumentCount, const char* const* arguments);

/// Does not return, but throws `CommandError` when it is not installed.
[[noreturn]] void becomeEndpoint(int argumentCount, char** arguments);

}  // namespace diskmgt
