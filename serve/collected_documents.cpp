#include "serve/collected_documents.h"

#include <cstddef>
#include <cstdint>
#include <utility>

#include "session/packing.h"

namespace diskmgt::serve {

std::string packed(const CollectedDocuments& documents) {
    Packer packer(RecordKind::kDocuments);
    for (const std::string* text :
         {&documents.systemName, &documents.stall, &documents.json, &documents.metrics, &documents.page})
        packer.put(*text);
    packer.put(static_cast<std::uint32_t>(documents.missing.size()));
    for (const MissingClass& one : documents.missing) {
        packer.put(one.className);
        packer.put(one.why);
    }
    return packer.take();
}

std::optional<CollectedDocuments> unpackedDocuments(
    const std::string& bytes,
    const std::function<const refhost::ClassDeclaration*(const std::string& className)>& declarationOf) {
    std::optional<CollectedDocuments> found;
    eachRecord(bytes, RecordKind::kDocuments, [&found](Unpacker& record) {
        CollectedDocuments documents;
        for (std::string* text :
             {&documents.systemName, &documents.stall, &documents.json, &documents.metrics, &documents.page})
            record.get(*text);
        for (auto left = record.number<std::uint32_t>(); left > 0 && record.isWhole(); --left) {
            std::string className = record.text();
            documents.missing.push_back({std::move(className), record.text()});
        }
        if (record.isWhole()) found = std::move(documents);
    });
    if (found) found->classes = unpacked(bytes, found->beginning, declarationOf);
    return found;
}

}  // namespace diskmgt::serve
