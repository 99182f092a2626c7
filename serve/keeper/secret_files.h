// Certificates, keys and credentials as the keeper reads them.
#pragma once

#include "serve/handover/front_settings.h"
#include "serve/keeper/serve_options.h"

namespace diskmgt::serve {

/// The settings, with the contents of the named files. Throws `CommandError` for a file that cannot be read, is larger
/// than a MiB, or is a key or a list of passwords that every user may read.
FrontSettings readSecrets(const ServeOptions& options);

}  // namespace diskmgt::serve
