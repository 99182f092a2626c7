// What a command wants of the plug-in's session.
#pragma once

#include "cli/io/options.h"
#include "session/plugin_session.h"

namespace diskmgt {

inline SessionOptions sessionOptions(const Options& options) {
    SessionOptions wanted{options.pluginFile, options.virtualDevices, options.logSeverity, options.timeoutSeconds};
    wanted.schemaFiles = options.schemaFiles;
    return wanted;
}

}  // namespace diskmgt
