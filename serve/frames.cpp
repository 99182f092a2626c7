#include "serve/frames.h"

#include <cstring>

namespace diskmgt::serve {

namespace {

constexpr std::size_t kHeadBytes = 1 + sizeof(std::uint64_t);

}  // namespace

std::string framed(FrameKind kind, const std::string& payload) {
    const std::uint64_t length = payload.size();
    std::string frame(1, static_cast<char>(kind));
    frame.reserve(kHeadBytes + payload.size());
    frame.append(reinterpret_cast<const char*>(&length), sizeof length);
    return frame += payload;
}

std::optional<Frame> FrameReader::next() {
    if (broken || bytes.size() < kHeadBytes) return std::nullopt;
    std::uint64_t length = 0;
    std::memcpy(&length, bytes.data() + 1, sizeof length);
    const auto kind = static_cast<FrameKind>(bytes.front());
    const bool isKnown =
        kind == FrameKind::kReady || kind == FrameKind::kInstances || kind == FrameKind::kDocuments;
    broken = !isKnown || length > kLongest;
    if (broken) return std::nullopt;
    if (bytes.size() - kHeadBytes < length) {
        bytes.reserve(kHeadBytes + length);  // once, and not twice as much
        return std::nullopt;
    }
    Frame frame{kind, bytes.substr(kHeadBytes, length)};
    std::string rest = bytes.substr(kHeadBytes + length);
    rest.shrink_to_fit();
    bytes.swap(rest);
    return frame;
}

}  // namespace diskmgt::serve
