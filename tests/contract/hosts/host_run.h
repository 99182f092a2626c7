// Runs the plug-in in the host libraries that this function is linked with.
#pragma once

/// Makes a host, loads the plug-in, requests one association and takes the plug-in out of service. Prints a line for
/// each fact:
///   refused TEXT      the loader's reason
///   published N       associations
///   logged TEXT
///   mapped FILE       each file that the process had mapped while the plug-in was open, or after it was refused
extern "C" __attribute__((visibility("default"))) void runPluginInThisHost(const char* pluginFile);
