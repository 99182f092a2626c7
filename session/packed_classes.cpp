// Numbers as this machine has them, texts behind their length; each record behind its length too, so that one that is
// cut short is noticed.
#include "session/packed_classes.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <optional>

namespace diskmgt {

namespace {

constexpr std::uint32_t kNull = std::numeric_limits<std::uint32_t>::max();

class Packer {
public:
    Packer() { put(std::uint64_t{0}); }  // the length, which is known at the end

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
    std::string text() {
        const auto length = number<std::uint32_t>();
        const char* const from = take(length);
        return from == nullptr ? std::string() : std::string(from, length);
    }
    /// The record that begins here.
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

refhost::Instance readInstance(Unpacker& from, const refhost::ClassDeclaration& declaration) {
    refhost::Instance instance;
    instance.className = declaration.name;
    instance.path = from.text();
    instance.properties.reserve(declaration.properties.size());
    for (const refhost::PropertyDeclaration& property : declaration.properties) {
        refhost::PropertyValue value;
        value.declaration = &property;
        const auto count = from.number<std::uint32_t>();
        value.isNull = count == kNull;
        for (std::uint32_t i = 0; !value.isNull && i < count && from.isWhole(); ++i)
            value.elements.push_back(from.text());
        instance.properties.push_back(std::move(value));
    }
    return instance;
}

}  // namespace

std::string packed(const Beginning& beginning) {
    Packer packer;
    packer.put(std::int64_t{beginning.time});
    packer.put(beginning.steadyNs);
    return packer.take();
}

std::string packed(const ServedClass& served) {
    Packer packer;
    packer.put(served.published.declaration->name);
    packer.put(served.failure);
    packer.put(std::uint64_t{served.published.instances.size()});
    for (const refhost::Instance& instance : served.published.instances) {
        packer.put(instance.path);
        for (const refhost::PropertyValue& value : instance.properties) {
            packer.put(value.isNull ? kNull : static_cast<std::uint32_t>(value.elements.size()));
            for (const std::string& element : value.elements) packer.put(element);
        }
    }
    return packer.take();
}

std::vector<ServedClass> unpacked(
    const std::string& bytes, Beginning& beginning,
    const std::function<const refhost::ClassDeclaration*(const std::string& className)>& declarationOf) {
    std::vector<ServedClass> classes;
    Unpacker all(bytes.data(), bytes.size());
    Unpacker first = all.record();
    if (!all.isWhole()) return classes;
    beginning.time = static_cast<std::time_t>(first.number<std::int64_t>());
    beginning.steadyNs = first.number<std::int64_t>();
    while (!all.isAtEnd()) {
        Unpacker record = all.record();
        ServedClass served;
        served.published.declaration = declarationOf(record.text());
        if (!all.isWhole() || served.published.declaration == nullptr) break;
        served.failure = record.text();
        const auto count = record.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < count && record.isWhole(); ++i)
            served.published.instances.push_back(readInstance(record, *served.published.declaration));
        if (!record.isWhole()) break;
        classes.push_back(std::move(served));
    }
    return classes;
}

}  // namespace diskmgt
