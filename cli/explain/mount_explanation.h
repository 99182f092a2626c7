// Everything that is said about one mount.
#pragma once

#include "cli/explain/explanation.h"
#include "inventory/mount_facts.h"

namespace diskmgt {

/// `updateError`: why the mount table could not be opened for update; 0: it could.
MountExplanation explainMount(const MountFacts& mount, int updateError);

}  // namespace diskmgt
