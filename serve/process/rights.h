// What a process of the endpoint gives up before it does its work. Each throws `CommandError` when it cannot.
#pragma once

#include <string>

namespace diskmgt::serve {

/// No program that this process starts gains a right, and no other process of the account looks into this one.
void closeInOnItself();

/// Ends with the process that started this one.
void endWithParent();

/// Keeps of root's capabilities what opening devices and the mount table takes. Does nothing without root.
void keepRightsOfCollector();

/// From root to an account, for good. Without root it must be the account of the process.
void becomeAccount(unsigned user, unsigned group);

/// Gives up every capability.
void dropCapabilities();

/// What one connection after the other may use at most: descriptors, memory, no core file.
void limitResources();

/// From here on the kernel refuses what the front does not do: it opens, connects, starts and looks at nothing, and
/// works on the descriptors that it has or is given. For all threads, for good. A call that is refused fails with
/// EPERM: an unforeseen one of a library costs an answer and not the service.
void filterSystemCalls();

}  // namespace diskmgt::serve
