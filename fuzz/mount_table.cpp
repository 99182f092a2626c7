// Any bytes as a mount table, and what must hold of the logical disks. First byte: which of the first
// mount points can be measured.
#include <set>
#include <string>

#include "collect/logical_disk_information.h"
#include "fuzz/target.h"
#include "tests/support/fake_os.h"
#include "tests/support/property_maps.h"

namespace {

using diskmgt_fuzz::require;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    diskmgt_fuzz::Choices input(data, size);
    const std::uint8_t measurable = input.byte();
    diskmgt_test::FakeOs machine;
    machine.keepNoTexts().file("/etc/mtab", std::string(input.rest(), input.restSize()));
    const char* const places[] = {"/", "/boot", "/proc", "/run", "none", "tmpfs", "/mnt/a b", "/dev/sda1"};
    for (unsigned i = 0; i < 8; ++i)
        if ((measurable >> i & 1U) != 0) machine.fileSystem(places[i], {4096, i, ~std::uint64_t{0}, 0, i, 0xFFFFFFFF});

    diskmgt_col::LDMStore store;
    const auto disks = diskmgt_col::LogicalDiskInformation().doEnumeration(store);
    std::string previous;
    std::set<std::string> sources;
    for (const auto& disk : disks) {
        using diskmgt_test::valueOf;
        const std::string source = valueOf(disk, "DeviceID");
        require(sources.insert(source).second, "each source is reported once");
        require(sources.size() == 1 || previous < source, "sources come in byte order");
        previous = source;
        require(valueOf(disk, "ElementName") == source, "both names are the source");
        require(endsWith(valueOf(disk, "OtherIdentifyingInfo"), ","), "a comma follows the mount point");
        require(disk.count("MountOptions") == 1 && disk.count("FileSystemName") == 1, "options and type are told");
        const bool isMeasured = disk.count("TotalSpace") == 1;
        require(isMeasured == (disk.count("FreeSpace") == 1), "space is told whole or not at all");
        require(disk.size() == (isMeasured ? 7U : 5U), "nothing else is told, and nothing twice");
        require(!isMeasured || endsWith(valueOf(disk, "MountOptions"), " 4294967295"), "the identifier is appended");
    }
    require(machine.openHandles() == 0, "everything that was opened is closed");
    require(machine.staleUses() == 0, "nothing is used after it was closed");
    return 0;
}
