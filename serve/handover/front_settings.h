// What the keeper gives the front to work with, as texts.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

struct FrontSettings {
    std::vector<std::string> serverNames;
    std::string certificate, key, clientCa, credentials;  // the contents of files; empty: none
    double maxAgeSeconds = 10;
    double limitSeconds = 30;    // for a collection; 0: none
    double exitIdleSeconds = 0;  // 0: never
};

/// A file in memory that holds them: private keys are too long for a message. Not open: there is no memory.
Descriptor inMemory(const FrontSettings& settings);

/// Throws `CommandError` when that is no such file.
FrontSettings readSettings(int descriptor);

}  // namespace diskmgt::serve
