// ILogger: where log lines go. One logger serves the whole process.
#pragma once

#include <string>

#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

/// The host's core logger. Owned by the host, valid for the life of the process.
class TAL_API ILogger {
public:
    enum ETALLogSeverity { kError = 0, kWarning = 1, kStatus = 2, kDebug = 3, kVerbose = 4 };

    /// Writes one entry. The text is taken unchanged: no prefix or line end is added.
    virtual void Log(ETALLogSeverity severity, const std::string& text) = 0;

protected:
    ~ILogger() = default;  // never destroyed through the interface
};

}  // namespace NVEXTAL20
