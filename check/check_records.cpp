#include "check/check_records.h"

#include <utility>

#include "session/packing.h"

namespace diskmgt {

std::string packedIdentity(const refhost::PluginIdentity& identity) {
    Packer packer(RecordKind::kIdentity);
    for (const std::string* const text :
         {&identity.file, &identity.name, &identity.version, &identity.interfaceVersion})
        packer.put(*text);
    packer.put(identity.type);
    packer.put(identity.answersRequests);
    return packer.take();
}

std::string packedBegin(Check check) {
    Packer packer(RecordKind::kCheckBegun);
    packer.put(check);
    return packer.take();
}

std::string packedEnd(const CheckNote& note) {
    Packer packer(RecordKind::kCheckEnded);
    packer.put(note.check);
    packer.put(note.text);
    return packer.take();
}

std::string packedFinding(const CheckFinding& finding) {
    Packer packer(RecordKind::kFinding);
    packer.put(finding.check);
    packer.put(finding.isFailure);
    packer.put(finding.className);
    packer.put(finding.text);
    return packer.take();
}

std::string packedFacts(const ServedFacts& facts) {
    Packer packer(RecordKind::kServedFacts);
    packer.put(facts.className);
    packer.put(facts.isAssociation);
    packer.put(facts.instances);
    packer.put(facts.crossings);
    packer.put(facts.seconds);
    packer.put(static_cast<std::uint64_t>(facts.log.size()));
    for (const refhost::LogLine& line : facts.log) {
        packer.put(line.severity);
        packer.put(line.text);
    }
    return packer.take();
}

CheckRecords readCheckRecords(const std::string& known) {
    CheckRecords records;
    eachRecord(known, RecordKind::kIdentity, [&records](Unpacker& from) {
        refhost::PluginIdentity identity;
        for (std::string* const text : {&identity.file, &identity.name, &identity.version, &identity.interfaceVersion})
            from.get(*text);
        from.get(identity.type);
        from.get(identity.answersRequests);
        if (from.isWhole()) records.identity = identity;
    });
    eachRecord(known, RecordKind::kCheckBegun,
               [&records](Unpacker& from) { records.begun.push_back(from.number<Check>()); });
    eachRecord(known, RecordKind::kCheckEnded, [&records](Unpacker& from) {
        CheckNote note;
        from.get(note.check);
        from.get(note.text);
        records.ended.push_back(std::move(note));
    });
    eachRecord(known, RecordKind::kFinding, [&records](Unpacker& from) {
        CheckFinding finding;
        from.get(finding.check);
        from.get(finding.isFailure);
        from.get(finding.className);
        from.get(finding.text);
        records.findings.push_back(std::move(finding));
    });
    eachRecord(known, RecordKind::kServedFacts, [&records](Unpacker& from) {
        ServedFacts facts;
        from.get(facts.className);
        from.get(facts.isAssociation);
        from.get(facts.instances);
        from.get(facts.crossings);
        from.get(facts.seconds);
        const auto lines = from.number<std::uint64_t>();
        for (std::uint64_t i = 0; i < lines && from.isWhole(); ++i) {
            refhost::LogLine line;
            from.get(line.severity);
            from.get(line.text);
            facts.log.push_back(std::move(line));
        }
        if (from.isWhole()) records.served.push_back(std::move(facts));
    });
    return records;
}

}  // namespace diskmgt
