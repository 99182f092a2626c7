// probe: the partition maps of devices and disk images, streamed map by map. A crowded GPT disk has two million
// pairs, so the document never exists as a whole.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "base/handles.h"

#include "cli/commands/commands.h"
#include "cli/io/output.h"
#include "collect/partition_table_parser.h"
#include "formats/json.h"
#include "schema/vocabulary.h"
#include "terminal/remarks.h"
#include "text/wording.h"
#include "worker/deadline.h"

namespace diskmgt {

namespace {

using diskmgt_col::UniqueFd;

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();

struct ProbedFile {
    int openError = 0;
    std::vector<diskmgt_col::PropertyMap> partitions;
    diskmgt_col::TableReading reading;
    std::vector<std::string> doubts;  // sentences about what is there
};

/// The parser skips such files without a word.
int openErrorOf(const std::string& path) {
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) return errno;
    struct stat kind {};
    return ::fstat(file.get(), &kind) == 0 && S_ISDIR(kind.st_mode) ? EISDIR : 0;
}

/// An unreadable place in the middle of what is read at once shortens the read, as the end does; reading on shows which
/// of the two it was.
void readOnAtCut(int fd, diskmgt_col::TableReading& reading) {
    char byte = 0;
    if (reading.error != 0 || !reading.cutAt || ::pread(fd, &byte, 1, *reading.cutAt) >= 0) return;
    reading.error = errno;
    reading.errorOffset = *reading.cutAt;
}

/// Of a file or block device; nothing for anything else.
std::optional<std::uint64_t> sizeOf(int fd) {
    struct stat kind {};
    if (::fstat(fd, &kind) != 0 || (!S_ISREG(kind.st_mode) && !S_ISBLK(kind.st_mode))) return std::nullopt;
    const off_t end = ::lseek(fd, 0, SEEK_END);
    if (end < 0) return std::nullopt;
    return static_cast<std::uint64_t>(end);
}

std::uint64_t numberIn(const diskmgt_col::PropertyMap& partition, const std::string& name) {
    const auto [first, end] = partition.equal_range(name);  // the partition's own value is the last
    return first == end ? 0 : std::strtoull(std::prev(end)->second.c_str(), nullptr, 10);
}

/// Where the partition ends at the earliest, in bytes: the start of one in an MBR is known modulo 2^32.
std::uint64_t earliestEnd(const diskmgt_col::PropertyMap& partition) {
    const std::uint64_t start = numberIn(partition, diskmgt_col::kStartingOffset);
    const std::uint64_t size = numberIn(partition, diskmgt_col::kSize);
    const auto sector = static_cast<std::uint64_t>(diskmgt_col::kSectorSize);
    if (partition.count(diskmgt_col::kPartitionSubType) == 0)  // GPT: the number of the last sector
        return std::max(start < kLargest / sector ? (start + 1) * sector : kLargest, size);
    const auto relative = static_cast<std::uint32_t>(start - static_cast<std::uint64_t>(diskmgt_col::kSlotsOffset));
    return relative + size;
}

std::vector<std::string> doubtsAbout(int fd, const std::string& path,
                                     const std::vector<diskmgt_col::PropertyMap>& partitions) {
    std::vector<std::string> doubts;
    if (partitions.empty() || partitions.front().empty()) return doubts;  // a floppy is not read
    unsigned char signature[2] = {};
    if (::pread(fd, signature, sizeof signature, diskmgt_col::kSectorSize - 2) != sizeof signature ||
        signature[0] != 0x55 || signature[1] != 0xAA)
        doubts.push_back("the first sector of " + path +
                         " has no boot signature, so it may be no partition table; compare with \"blkid -p\"");
    const std::optional<std::uint64_t> size = sizeOf(fd);
    std::size_t beyond = 0;
    for (const diskmgt_col::PropertyMap& partition : partitions)
        if (size && earliestEnd(partition) > *size) ++beyond;
    if (beyond != 0)
        doubts.push_back(path + " has " + std::to_string(*size) + " bytes, and " + counted(beyond, "partition") +
                         (beyond == 1 ? " ends" : " end") +
                         " past that; the file may be cut, or its table may be wrong");
    return doubts;
}

ProbedFile probe(const std::string& path, double timeoutSeconds) {
    const Deadline limit(timeoutSeconds, {"reading " + path});
    ProbedFile probed;
    probed.openError = openErrorOf(path);
    if (probed.openError != 0) return probed;
    probed.partitions = diskmgt_col::partitionsOf(path, probed.reading);
    const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.valid()) return probed;  // gone meanwhile
    readOnAtCut(file.get(), probed.reading);
    probed.doubts = doubtsAbout(file.get(), path, probed.partitions);
    return probed;
}

/// Says what went wrong with one file and what its list should be read with.
ExitStatus report(const ProbedFile& probed, const std::string& path) {
    const diskmgt_col::TableReading& reading = probed.reading;
    if (probed.openError != 0)
        writeRemark("cannot open " + (path.empty() ? "\"\"" : path) + ": " + std::strerror(probed.openError) +
                    "; its list is empty, check the name and your rights");
    if (reading.error != 0)
        writeRemark("cannot read sector " + std::to_string(reading.errorOffset / diskmgt_col::kSectorSize) + " of " +
                    path + ": " + std::strerror(reading.error) +
                    "; its list shows what was read before, look at the kernel's log (dmesg)");
    if (reading.refusedCount)
        writeRemark("the GPT of " + path + " is refused: " + refusalOfCount(*reading.refusedCount) +
                    "; its list is empty");
    for (const std::string& doubt : probed.doubts) writeRemark(doubt);
    return probed.openError != 0 || reading.error != 0 || reading.refusedCount ? kFailureReported : kDone;
}

}  // namespace

ExitStatus runProbe(const Options& options) {
    Output output(options.outputFile);
    ExitStatus status = kDone;
    output.write("[");
    const char* beforeFile = "\n";
    for (const std::string& path : options.operands) {
        ProbedFile probed = probe(path, options.timeoutSeconds);
        if (report(probed, path) != kDone) status = kFailureReported;
        output.write(beforeFile + ("{\"path\": " + json::quoted(path)) + ", \"partitions\": [");
        beforeFile = ",\n";
        const char* beforeMap = "\n";
        for (diskmgt_col::PropertyMap& partition : probed.partitions) {
            output.write(beforeMap + json::pairs(partition));
            beforeMap = ",\n";
            partition.clear();  // each map of a GPT disk holds all pairs of those before it
        }
        output.write(probed.partitions.empty() ? "]}" : "\n]}");
    }
    output.write("\n]\n");
    output.finish();
    return status;
}

}  // namespace diskmgt
