// What the collector sends to the front: a kind, a length and as many bytes, one frame after the other.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace diskmgt::serve {

enum class FrameKind : char {
    kReady = 'r',  // the plug-in is loaded; empty, with the descriptor of a `ProgressNote`
    // A collection, see collected_documents.h: first
    kInstances = 'i',
    // and then
    kDocuments = 'd',
};

struct Frame {
    FrameKind kind;
    std::string payload;
};

std::string framed(FrameKind kind, const std::string& payload);

/// Takes bytes as they come and gives whole frames.
class FrameReader {
public:
    static constexpr std::uint64_t kLongest = std::uint64_t{1} << 30;  // a thousand disks need less than 100 MiB

    void append(const char* from, std::size_t size) { bytes.append(from, size); }
    /// The next whole frame, if there is one.
    std::optional<Frame> next();
    /// No collector wrote that: give it up.
    bool isBroken() const { return broken; }

private:
    std::string bytes;
    bool broken = false;
};

}  // namespace diskmgt::serve
