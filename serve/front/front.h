// The process that speaks with clients: it has no rights, and the kernel refuses it all but its sockets.
#pragma once

namespace diskmgt::serve {

/// Becomes that account, and serves until the keeper says so or has gone. Returns the exit status. Throws
/// `CommandError`.
int runFront(unsigned user, unsigned group);

}  // namespace diskmgt::serve
