// What `diff` knows of one document of `export json`: its devices and what is on them as flat lists, each element with
// its named values.
#pragma once

#include <array>
#include <boost/container/flat_map.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace diskmgt {

/// All numbers of a document are whole.
using DocumentValue = std::variant<std::uint64_t, bool, std::string, std::vector<std::string>>;

/// Of two documents together: far above any server's, and what bounds the memory for hostile ones.
constexpr std::size_t kMostElements = 1000000;

/// A device is a drive, a partition or a volume; what udev found on it and what is mounted from it is a file system.
enum class ElementKind { kDrive, kVolume, kPartition, kFileSystem };
constexpr std::size_t kElementKinds = 4;

/// Names of values that the comparison knows. `kPlaces`: the devices that an element lies on, by their names as
/// elements.
inline const char* const kPlaces = "on";
inline const char* const kMountPoints = "mountPoints";

struct DocumentElement {
    std::string name;  // path of a device, first mount point of a file system; several elements may have the same
    boost::container::flat_map<std::string_view, DocumentValue> values;  // the names are constants

    /// Null when it is not there, or of another type.
    template <typename Held>
    const Held* find(std::string_view value) const {
        const auto found = values.find(value);
        return found == values.end() ? nullptr : std::get_if<Held>(&found->second);
    }
    bool isMounted() const {
        const auto* const points = find<std::vector<std::string>>(kMountPoints);
        return points != nullptr && !points->empty();
    }
};

struct InventoryDocument {
    std::string hostName;
    std::string collectedAt;
    bool isComplete = true;
    std::vector<std::string> gaps;  // one sentence each
    bool hasDevices = true;         // false: the kernel's list of them could not be read
    bool hasMounts = true;          // the same of its mount table
    std::array<std::vector<DocumentElement>, kElementKinds> elements;
    std::size_t kept = 0;  // objects and entries of lists that were kept, with those of the documents read before

    const std::vector<DocumentElement>& of(ElementKind kind) const { return elements[static_cast<std::size_t>(kind)]; }
    /// Whether elements of that kind may be missing.
    bool lacks(ElementKind kind) const { return !hasDevices || (kind == ElementKind::kFileSystem && !hasMounts); }
};

/// Reads a document. Throws `std::runtime_error` whose text continues a sentence that begins with the file's name:
/// "is not a document of ...". Unknown keys are ignored; the plain instances are not read. `alreadyKept`: of the
/// document that this one is compared with.
InventoryDocument readInventoryDocument(const std::string& text, std::size_t alreadyKept = 0);

}  // namespace diskmgt
