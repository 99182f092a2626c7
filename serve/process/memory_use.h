// How the processes that stay use memory. Without this they keep several times what they need between two collections.
#pragma once

namespace diskmgt::serve {

/// For the collector, at its start: up to 4 MiB that one collection frees the next one takes again, without the kernel.
void reuseMemory() noexcept;

/// For the collector, after a collection: gives free memory back when there is much of it. Most of it lies between what
/// is kept, where the C library leaves it.
void giveBackMemory() noexcept;

/// For the front, at its start: each large document has memory of its own, which goes when the document does.
void separateDocuments() noexcept;

}  // namespace diskmgt::serve
