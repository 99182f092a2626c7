#include "serve/collected_documents.h"

#include <cstddef>
#include <utility>

#include "session/packing.h"

namespace diskmgt::serve {

std::string packed(const CollectedDocuments& documents) {
    Packer packer(RecordKind::kDocuments);
    for (const std::string* text :
         {&documents.systemName, &documents.stall, &documents.json, &documents.metrics, &documents.page})
        packer.put(*text);
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
        if (record.isWhole()) found = std::move(documents);
    });
    if (found) found->classes = unpacked(bytes, found->beginning, declarationOf);
    return found;
}

}  // namespace diskmgt::serve
