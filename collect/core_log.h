// Lines that go straight to the host's core logger, whether or not the plug-in is registered.
#pragma once

#include <string>

#include "plugin/host/root_object.h"

namespace diskmgt_col {

/// Writes one line at debug severity; a host without a logger gets none.
inline void writeToCoreLog(const std::string& text) {
    NVEXTAL20::ILogger* const logger = NVEXTAL20::TRootObject::GetCoreLogger();
    if (logger != nullptr) logger->Log(NVEXTAL20::ILogger::kDebug, text);
}

}  // namespace diskmgt_col
