// Makes elements of a document's devices and file systems as they are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cli/diff/inventory_document.h"

namespace diskmgt {

/// All mounts of one file system.
struct GatheredMounts {
    std::vector<std::string> points;
    std::vector<std::string> options;
    std::string type;
    boost::container::flat_map<std::string_view, DocumentValue> figures;  // those that are there, of the first that has

    void add(DocumentElement mount);
};

class ElementGathering {
public:
    explicit ElementGathering(InventoryDocument& filled) : document(filled) {}

    /// False when a device of that name was there before.
    bool addDevice(DocumentElement device, GatheredMounts mounts);
    void addFileSystem(DocumentElement fileSystem, GatheredMounts mounts);
    /// To be called once, after all: names are known then.
    void finish();

private:
    std::vector<DocumentElement>& list(ElementKind kind) { return document.elements[static_cast<std::size_t>(kind)]; }
    void addOnDevice(const std::string& shownName, DocumentElement& device, GatheredMounts mounts);
    static void takeMounts(DocumentElement& element, GatheredMounts mounts);

    InventoryDocument& document;
    std::unordered_set<std::string> names;                      // of devices, below /dev
    std::unordered_map<std::string, std::string> shownNames;    // of volumes, by their names below /dev
    std::unordered_map<std::string, std::size_t> fileSystemOn;  // by the device's name as an element
    std::vector<std::pair<std::string, std::string>> mountsAt;  // the device, and the name below /dev of the other
};

}  // namespace diskmgt
