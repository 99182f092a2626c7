// The listening sockets: made by the keeper or handed over by systemd.
#pragma once

#include <string>
#include <vector>

#include "serve/handover/descriptor.h"

namespace diskmgt::serve {

struct Listener {
    Descriptor socket;
    std::string where;  // without a scheme: 127.0.0.1:5988, [::1]:5988 or a path
    bool isUnix = false;
    bool isLoopback = false;  // a Unix socket too: no other machine reaches it
    std::string toRemove;     // at the end; empty: nothing was made in the file system
};

/// Opens what is asked for: ADDRESS:PORT, [ADDRESS]:PORT or unix:PATH; nothing: port 5988 of loopback, as far as this
/// machine has it. A Unix socket is for its owner and the group, in a folder with the set-group-ID bit for that
/// folder's group. Throws `CommandError`: wrong usage, or `kPluginUnusable` when it cannot listen there.
std::vector<Listener> openListeners(const std::vector<std::string>& wanted, unsigned groupOfUnixSockets);

/// Those that a service manager hands over (LISTEN_PID, LISTEN_FDS); it forgets both variables. Throws `CommandError`
/// for one that no client can connect to.
std::vector<Listener> inheritedListeners();

}  // namespace diskmgt::serve
