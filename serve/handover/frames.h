// What the collector sends to the front: a kind, a length and as many bytes, one frame after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

namespace diskmgt::serve {

enum class FrameKind : char {
    kReady = 'r',  // the plug-in is loaded; empty, with the descriptor of a `ProgressNote`
    // A collection: first the instances, see instances_head.h,
    kInstances = 'i',
    // then the documents, each a text as it is served,
    kJson = 'j',
    kMetrics = 'm',
    kPage = 'p',
    // and at its end a sentence about a mount that does not answer; empty: all answer.
    kEnd = 'e',
};

struct Frame {
    FrameKind kind = FrameKind::kReady;
    std::string payload;
};

/// What goes before a payload of that many bytes.
std::string frameHead(FrameKind kind, std::uint64_t length);

/// Takes bytes as they come and gives whole frames. A payload is copied once.
class FrameReader {
public:
    static constexpr std::uint64_t kLongest = std::uint64_t{1} << 30;  // a thousand disks need less than 100 MiB

    /// Without memory for a frame it throws, and is broken.
    void append(const char* from, std::size_t size);
    /// The next whole frame, if there is one.
    std::optional<Frame> next();
    /// No collector wrote that: give it up.
    bool isBroken() const { return broken; }

private:
    void readHead();

    std::string head;
    Frame begun;
    std::uint64_t length = 0;  // of the one that has begun
    std::deque<Frame> whole;
    bool broken = false;
};

}  // namespace diskmgt::serve
