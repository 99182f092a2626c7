// Any bytes as tables of /proc and as a udev record. Entries that were read, written in the kernel's form and read
// again are the same.
#include <string>

#include "fuzz/target.h"
#include "machine/mounts.h"
#include "machine/swaps.h"
#include "machine/texts.h"
#include "machine/udev_record.h"

namespace {

using diskmgt_fuzz::require;

std::string escaped(const std::string& text) {
    std::string written;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (letter != ' ' && letter != '\t' && letter != '\n' && letter != '\\') {
            written += letter;
            continue;
        }
        written += '\\';
        for (const unsigned shift : {6U, 3U, 0U}) written += static_cast<char>('0' + (byte >> shift & 7U));
    }
    return written;
}

void checkMounts(const std::string& text) {
    const auto mounts = diskmgt_machine::mountsIn(text);
    require(mounts.size() <= diskmgt_machine::linesIn(text).size(), "a line is one mount at most");
    for (const auto& mount : mounts) {
        const auto again = diskmgt_machine::mountFrom(
            std::to_string(mount.id) + " " + std::to_string(mount.parent) + " " + textOf(mount.number) + " " +
            escaped(mount.root) + " " + escaped(mount.mountPoint) + " " + escaped(mount.options) + " - " +
            escaped(mount.type) + " " + escaped(mount.source) + " " + escaped(mount.superOptions));
        require(again.has_value(), "a line that was read can be written");
        require(again->id == mount.id && again->parent == mount.parent && again->number == mount.number,
                "its numbers stay");
        require(again->root == mount.root && again->mountPoint == mount.mountPoint && again->options == mount.options,
                "its place stays");
        require(again->type == mount.type && again->source == mount.source && again->superOptions == mount.superOptions,
                "its file system stays");
    }
    require(diskmgt_machine::hiddenByLaterMount(mounts).size() == mounts.size(), "each mount is seen or hidden");
}

void checkSwaps(const std::string& text) {
    for (const auto& swap : diskmgt_machine::swapsIn(text)) {
        const auto again = diskmgt_machine::swapFrom(escaped(swap.path) + "\t" + (swap.isFile ? "file" : "partition") +
                                                     "\t" + std::to_string(swap.sizeBytes / 1024) + "\t" +
                                                     std::to_string(swap.usedBytes / 1024) + "\t0");
        require(again.has_value(), "a swap area that was read can be written");
        require(again->path == swap.path && again->isFile == swap.isFile && again->sizeBytes == swap.sizeBytes &&
                    again->usedBytes == swap.usedBytes,
                "it stays the same");
    }
}

void checkUdev(const std::string& text) {
    const auto record = diskmgt_machine::udevRecordFrom(text);
    const auto line = text.find("E:ID_FS_TYPE=");
    require(record.content.empty() || line != std::string::npos, "nothing is known that is not in the record");
    require(diskmgt_machine::udevRecordFrom(text + "\nE:ID_FS_TYPE=ext4").content == "ext4", "the last one counts");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkMounts(text);
    checkSwaps(text);
    checkUdev(text);
    return 0;
}
