// What `diskmgt serve` was asked for.
#pragma once

#include <string>
#include <vector>

#include "serve/handover/collector_options.h"

namespace diskmgt::serve {

struct ServeOptions {
    std::vector<std::string> listen;  // ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH; empty: loopback, port 5988
    double maxAgeSeconds = 10;
    double exitIdleSeconds = 0;  // 0: never
    std::string certificateFile, keyFile, clientCaFile, credentialsFile;
    std::vector<std::string> serverNames;
    std::string user;  // of the front; empty: the package's, else nobody
    std::string
        collectorSocket;  // where a service manager starts a collector for each connection; empty: the keeper does
    CollectorOptions collector;
    std::string text;  // help or version, when that was asked for instead
};

/// Throws `CommandError` with `kWrongUsage`.
ServeOptions readServeOptions(int argumentCount, char** arguments);

}  // namespace diskmgt::serve
