// Records of numbers and texts as bytes, on their way from the process that collects to the one that shows.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace diskmgt {

/// What a record holds. One stream has records of several kinds; a reader skips those that are not its own.
enum class RecordKind : std::uint8_t {
    kBeginning,
    kClass,
    kDevices,
    kMountTable,
    kMountFigures,
    kLeftOut,
    kIdentity,
    kCheckBegun,
    kCheckEnded,
    kFinding,
    kServedFacts,
    kInstancesHead,
    kSettings
};

/// Numbers as this machine has them, texts behind their length; the record behind its length and its kind, so that one
/// that is cut short is noticed.
class Packer {
public:
    explicit Packer(RecordKind kind) {
        put(std::uint64_t{0});  // the length, which is known at the end
        put(kind);
    }

    template <typename Number>
    void put(Number number) {
        bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
    void put(const std::string& text) {
        put(static_cast<std::uint32_t>(text.size()));
        bytes += text;
    }

    std::string take() {
        const std::uint64_t length = bytes.size() - sizeof length;
        std::memcpy(&bytes[0], &length, sizeof length);
        return std::move(bytes);
    }

private:
    std::string bytes;
};

/// Past the end everything is 0 or empty, and `isWhole` says so.
class Unpacker {
public:
    Unpacker(const char* from, std::size_t size) : next(from), left(size) {}

    template <typename Number>
    Number number() {
        Number value{};
        if (const char* const from = take(sizeof value)) std::memcpy(&value, from, sizeof value);
        return value;
    }
    template <typename Number>
    void get(Number& value) {
        value = number<Number>();
    }
    void get(std::string& value) { value = text(); }
    std::string text() {
        const auto length = number<std::uint32_t>();
        const char* const from = take(length);
        return from == nullptr ? std::string() : std::string(from, length);
    }
    /// The record that begins here, without its kind's byte read.
    Unpacker record() {
        const auto length = number<std::uint64_t>();
        const char* const from = take(length);
        return from == nullptr ? Unpacker(nullptr, 0) : Unpacker(from, length);
    }
    bool isAtEnd() const { return left == 0; }
    bool isWhole() const { return isGood; }

private:
    const char* take(std::uint64_t count) {
        if (count > left) {
            isGood = false;
            left = 0;
            return nullptr;
        }
        const char* const from = next;
        next += count;
        left -= count;
        return from;
    }

    const char* next;
    std::size_t left;
    bool isGood = true;
};

/// Visits the records of one kind in order. One that is cut short ends the stream.
template <typename Visit>
void eachRecord(const std::string& bytes, RecordKind kind, const Visit& visit) {
    Unpacker all(bytes.data(), bytes.size());
    while (!all.isAtEnd()) {
        Unpacker record = all.record();
        if (!all.isWhole()) return;
        if (record.number<RecordKind>() == kind) visit(record);
    }
}

}  // namespace diskmgt
