// The process that speaks with clients: it has no rights, and the kernel refuses it all but its sockets.
#pragma once

namespace diskmgt::serve {

constexpr int kFrontChannel = 3;             // the front's end of the channel to the keeper
constexpr const char* kFrontRole = "front";  // the word that starts the executable as one

/// Becomes that account, and serves until the keeper says so or has gone. Returns the exit status. Throws
/// `CommandError`.
int runFront(unsigned user, unsigned group);

}  // namespace diskmgt::serve
