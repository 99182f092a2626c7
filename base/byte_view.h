// ByteView: reads little-endian fields from bytes that it does not own, and never past their end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>

namespace diskmgt_col {

class ByteView {
public:
    ByteView(const void* first, std::size_t size) noexcept
        : bytes(static_cast<const unsigned char*>(first)), length(size) {}

    std::size_t size() const noexcept { return length; }

    bool holds(std::size_t offset, std::size_t count) const noexcept {
        return offset <= length && count <= length - offset;  // a sum could wrap; a difference cannot
    }

    /// Copies `sizeof(T)` bytes unchanged; nothing when they reach past the end.
    template <typename T>
    std::optional<T> record(std::size_t offset) const noexcept {
        if (!holds(offset, sizeof(T))) return std::nullopt;
        T stored;
        std::memcpy(&stored, bytes + offset, sizeof stored);  // any alignment
        return stored;
    }

    /// An unsigned little-endian integer; nothing when it reaches past the end.
    template <typename T>
    std::optional<T> little(std::size_t offset) const noexcept {
        if (!holds(offset, sizeof(T))) return std::nullopt;
        T value = 0;
        for (std::size_t i = sizeof(T); i-- > 0;)
            value = static_cast<T>(static_cast<T>(value << 8) | bytes[offset + i]);
        return value;
    }

private:
    const unsigned char* bytes;
    std::size_t length;
};

}  // namespace diskmgt_col
