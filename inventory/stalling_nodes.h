// Nodes under the name of a disk that would keep the plug-in waiting: it opens what it finds there.
#pragma once

#include <string>
#include <vector>

namespace diskmgt {

struct StallingNode {
    std::string path;  // empty: there is none
    std::string kind;  // "a FIFO" or "a character device"

    explicit operator bool() const { return !path.empty(); }
    /// What it is, what a request does there, and what to do: one sentence without its full stop.
    std::string sentence() const;
};

/// Whether opening the path for reading, or reading there, may never come back. Looks with stat(2), opens nothing.
StallingNode stallingNodeAt(const std::string& path);

/// The first node that a request for the class would wait at; only drives and partitions open nodes.
StallingNode stallingNodeOf(const std::string& className, const std::vector<std::string>& virtualDevices);

}  // namespace diskmgt
