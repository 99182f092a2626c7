// Everything that is said about one mount.
#pragma once

#include <cstddef>

#include "cli/explain/explain_context.h"
#include "cli/explain/explanation.h"

namespace diskmgt {

/// A row of the machine: position in `ServerAccount::mounts`.
MountExplanation explainMount(const ExplainContext& context, std::size_t position);
/// A line of the mount table that the kernel does not have.
MountExplanation explainBesideMount(const ExplainContext& context, const MountFacts& mount);

}  // namespace diskmgt
