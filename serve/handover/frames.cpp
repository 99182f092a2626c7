#include "serve/handover/frames.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace diskmgt::serve {

namespace {

constexpr std::size_t kHeadBytes = 1 + sizeof(std::uint64_t);

bool isKnown(char kind) { return kind != '\0' && std::strchr("rijmpe", kind) != nullptr; }

}  // namespace

std::string frameHead(FrameKind kind, std::uint64_t length) {
    std::string head(1, static_cast<char>(kind));
    return head.append(reinterpret_cast<const char*>(&length), sizeof length);
}

void FrameReader::readHead() {
    std::memcpy(&length, head.data() + 1, sizeof length);
    broken = true;  // also when there is no memory for it
    if (!isKnown(head.front()) || length > kLongest) return;
    begun.kind = static_cast<FrameKind>(head.front());
    begun.payload.reserve(length);  // once, and not twice as much
    broken = false;
}

void FrameReader::append(const char* from, std::size_t size) {
    while (size > 0 && !broken) {
        const bool isHead = head.size() < kHeadBytes;
        const std::size_t taken =
            std::min<std::uint64_t>(size, isHead ? kHeadBytes - head.size() : length - begun.payload.size());
        (isHead ? head : begun.payload).append(from, taken);
        from += taken;
        size -= taken;
        if (head.size() < kHeadBytes) return;
        if (isHead) readHead();
        if (broken || begun.payload.size() < length) continue;
        whole.push_back(std::exchange(begun, Frame()));
        head.clear();
    }
}

std::optional<Frame> FrameReader::next() {
    if (whole.empty()) return std::nullopt;
    Frame frame = std::move(whole.front());
    whole.pop_front();
    return frame;
}

}  // namespace diskmgt::serve
