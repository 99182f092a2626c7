// What the keeper gives a collector on its command line.
#pragma once

#include <string>
#include <vector>

namespace diskmgt::serve {

struct CollectorOptions {
    std::string pluginFile;  // empty: the one that belongs to this executable
    std::vector<std::string> virtualDevices;
    double limitSeconds = 30;  // a collection that takes longer ends the process; 0: none
};

}  // namespace diskmgt::serve
