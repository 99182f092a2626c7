// TOSSpecific: the host's operating-system helpers.
#pragma once

#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class TAL_API TOSSpecific {
public:
    /// Runs `program` (looked up in PATH, no shell) with the arguments, waits at most `timeLimitSeconds`, and
    /// returns its standard output and error together. Past the limit its process group is killed and what was
    /// printed so far is returned. Throws `TTALException` when the program cannot be started.
    static std::string SpawnProcess(std::string program, std::vector<std::string> arguments, int timeLimitSeconds);
    /// The whole file, any bytes. Throws `TTALException` when it cannot be read.
    static std::string CaptureFile(std::string path);
    /// True for anything that `stat` finds.
    static bool FileExists(std::string path);
    /// Appends one text per device that the server's management controller presents as a virtual device; each
    /// contains the device's /dev path. Without a controller nothing is appended. Returns the number appended.
    static int getBmcVirtualDevices(int controller, std::vector<std::string>& devices, bool refresh);
};

}  // namespace NVEXTAL20
