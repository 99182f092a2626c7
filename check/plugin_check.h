// Asks a plug-in everything that it is judged by.
#pragma once

#include "session/plugin_session.h"

namespace diskmgt {

/// Makes known what is found, step by step. A plug-in that cannot be loaded ends the process; what a plug-in does to
/// the process ends it too. The time limit counts for each request.
/// `thorough`: also makes each crossing fail once.
void checkPlugin(const SessionOptions& options, bool thorough);

}  // namespace diskmgt
