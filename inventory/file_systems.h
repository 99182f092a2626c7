// Which mounts may be touched: asking a network, FUSE or automounted file system can block for good or mount
// something, so nothing is asked of them nor of what lies beneath.
#pragma once

#include <string>
#include <unordered_set>

namespace diskmgt {

enum class FileSystemKind { kLocal, kAutomount, kNetwork, kFuse, kUnknown };
/// By the type as the mount table names it. A type that is not known to be local is not local.
FileSystemKind kindOfFileSystem(const std::string& type);

/// The path without "." and "..", doubled and trailing slashes; text alone, no link is followed.
std::string plainPath(const std::string& path);

/// The places that are not to be touched.
class UntouchablePlaces {
public:
    /// The root is left out: the command itself runs from it.
    void add(const std::string& mountPoint);
    /// Whether the path is such a place or lies beneath one.
    bool cover(const std::string& path) const;

private:
    std::unordered_set<std::string> places;
};

}  // namespace diskmgt
