// What `diff` knows of one document of `export json`: its drives, partitions and logical disks as flat lists, each
// element with its named values.
#pragma once

#include <boost/container/flat_map.hpp>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace diskmgt {

/// All numbers of a document are whole.
using DocumentValue = std::variant<std::uint64_t, bool, std::string, std::vector<std::string>>;

/// Of two documents together: far above any server's, and what bounds the memory for hostile ones.
constexpr std::size_t kMostElements = 1000000;

enum class ElementKind { kDrive, kPartition, kLogicalDisk };

/// The name under which an element's places stand among its values: the drives and partitions it lies on.
inline const char* const kPlaces = "on";

struct DocumentElement {
    std::string name;  // device or mount source; several elements may have the same
    boost::container::flat_map<std::string_view, DocumentValue> values;  // the names are constants
};

struct InventoryDocument {
    std::string hostName;
    std::string collectedAt;
    bool isComplete = true;
    std::set<std::string> missingClasses;
    std::vector<std::string> failures;  // one sentence each
    std::vector<DocumentElement> drives, partitions, logicalDisks;
    std::size_t kept = 0;  // objects and entries of lists that were kept, with those of the documents read before

    const std::vector<DocumentElement>& elements(ElementKind kind) const {
        return kind == ElementKind::kDrive ? drives : kind == ElementKind::kPartition ? partitions : logicalDisks;
    }
    bool lacks(const std::string& className) const { return missingClasses.count(className) != 0; }
};

/// Reads a document. Throws `std::runtime_error` whose text continues a sentence that begins with the file's name:
/// "is no inventory ...". Unknown keys are ignored; the plain instances are not read. `alreadyKept`: of the document
/// that this one is compared with.
InventoryDocument readInventoryDocument(const std::string& text, std::size_t alreadyKept = 0);

}  // namespace diskmgt
