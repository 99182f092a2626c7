#include "machine/udev_record.h"

#include "machine/files.h"
#include "machine/texts.h"

namespace diskmgt_machine {

namespace {

constexpr const char* kRecords = "/run/udev/data";

struct TextKey {
    std::string_view key;
    std::string UdevRecord::*member;
};
constexpr TextKey kTextKeys[] = {
    {"ID_FS_TYPE", &UdevRecord::content},
    {"ID_FS_LABEL", &UdevRecord::label},
    {"ID_FS_UUID", &UdevRecord::uuid},
    {"ID_PART_TABLE_TYPE", &UdevRecord::table},
    {"ID_PART_ENTRY_SCHEME", &UdevRecord::partitionTable},
    {"ID_PART_ENTRY_TYPE", &UdevRecord::partitionType},
    {"ID_PART_ENTRY_NAME", &UdevRecord::partitionName},
    {"ID_PART_ENTRY_UUID", &UdevRecord::partitionUuid},
    {"ID_SERIAL_SHORT", &UdevRecord::serial},
    {"ID_WWN", &UdevRecord::wwn},
};

void take(UdevRecord& record, std::string_view key, std::string_view value) {
    for (const TextKey& row : kTextKeys)
        if (row.key == key) record.*row.member = withoutHexEscapes(value);
    if (key == "ID_PART_ENTRY_NUMBER") record.partitionNumber = decimalFrom(value);
    if (key == "ID_PART_ENTRY_OFFSET") record.startBytes = bytesFrom(value, kSectorUnit);
    if (key == "ID_PART_ENTRY_SIZE") record.sizeBytes = bytesFrom(value, kSectorUnit);
}

}  // namespace

UdevRecord udevRecordFrom(std::string_view text) {
    UdevRecord record;
    std::string labelAsWritten;  // the plain label has "_" for unusual characters
    for (const std::string_view line : linesIn(text)) {
        if (line.substr(0, 2) != "E:") continue;
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = line.substr(2, equals - 2);
        if (key == "ID_FS_LABEL_ENC")
            labelAsWritten = withoutHexEscapes(line.substr(equals + 1));
        else
            take(record, key, line.substr(equals + 1));
    }
    if (!labelAsWritten.empty()) record.label = std::move(labelAsWritten);
    return record;
}

bool hasUdevRecords() { return Folder(kRecords).isOpen(); }

UdevRecord readUdevRecord(const DeviceNumber& number) {
    return udevRecordFrom(readWholeFile(kRecords + ("/b" + textOf(number))).text);
}

}  // namespace diskmgt_machine
