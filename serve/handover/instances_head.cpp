#include "serve/handover/instances_head.h"

#include <cstdint>
#include <utility>

#include "session/packing.h"

namespace diskmgt::serve {

std::string packed(const InstancesHead& head) {
    Packer packer(RecordKind::kInstancesHead);
    packer.put(head.systemName);
    packer.put(static_cast<std::uint32_t>(head.leftOut.size()));
    for (const auto& [className, why] : head.leftOut) {
        packer.put(className);
        packer.put(why);
    }
    return packer.take();
}

std::optional<InstancesHead> unpackedHead(const std::string& bytes) {
    std::optional<InstancesHead> found;
    eachRecord(bytes, RecordKind::kInstancesHead, [&found](Unpacker& record) {
        InstancesHead head;
        record.get(head.systemName);
        for (auto left = record.number<std::uint32_t>(); left > 0 && record.isWhole(); --left) {
            std::string className = record.text();
            head.leftOut.emplace(std::move(className), record.text());
        }
        if (record.isWhole()) found = std::move(head);
    });
    if (found) found->beginning = unpackedBeginning(bytes);
    return found;
}

}  // namespace diskmgt::serve
