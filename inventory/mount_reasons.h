// Why a mount is or is not a logical disk, and whose space it shows.
#pragma once

#include <string>

#include "inventory/mount_facts.h"
#include "inventory/reason.h"

namespace diskmgt {

/// `updateError`: why the mount table could not be opened for update; 0: it could.
Verdict judgeMount(const MountFacts& mount, int updateError);

/// Nothing could be measured.
Reason noFigures(const std::string& source);
Reason automountReason();

}  // namespace diskmgt
