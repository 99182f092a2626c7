#include "session/packed_classes.h"

#include <limits>

#include "session/packing.h"

namespace diskmgt {

namespace {

constexpr std::uint32_t kNull = std::numeric_limits<std::uint32_t>::max();

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
    Packer packer(RecordKind::kBeginning);
    packer.put(std::int64_t{beginning.time});
    packer.put(beginning.steadyNs);
    return packer.take();
}

std::string packed(const ServedClass& served) {
    Packer packer(RecordKind::kClass);
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

Beginning unpackedBeginning(const std::string& bytes) {
    Beginning beginning;
    eachRecord(bytes, RecordKind::kBeginning, [&beginning](Unpacker& record) {
        beginning.time = static_cast<std::time_t>(record.number<std::int64_t>());
        beginning.steadyNs = record.number<std::int64_t>();
    });
    return beginning;
}

std::vector<ServedClass> unpacked(
    const std::string& bytes,
    const std::function<const refhost::ClassDeclaration*(const std::string& className)>& declarationOf) {
    std::vector<ServedClass> classes;
    bool isEnded = false;
    eachRecord(bytes, RecordKind::kClass, [&](Unpacker& record) {
        ServedClass served;
        served.published.declaration = declarationOf(record.text());
        isEnded = isEnded || served.published.declaration == nullptr;
        if (isEnded) return;
        served.failure = record.text();
        const auto count = record.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < count && record.isWhole(); ++i)
            served.published.instances.push_back(readInstance(record, *served.published.declaration));
        if (record.isWhole()) classes.push_back(std::move(served));
    });
    return classes;
}

}  // namespace diskmgt
