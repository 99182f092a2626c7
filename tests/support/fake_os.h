// FakeOs: a described machine that answers every call of base/os.h, records it and can make it fail.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/disk_image.h"

namespace diskmgt_test {

/// How long a fault lasts.
enum class Fault { once, fromThenOn };

/// The effect of a failing call.
struct Effect {
    int error = EIO;                        // errno of a call that can fail
    std::optional<std::size_t> readAtMost;  // set: no error, but reads give at most this many bytes

    static Effect failsWith(int error) { return {error, std::nullopt}; }
    static Effect readsAtMost(std::size_t bytes) { return {0, bytes}; }
};

/// The result of statfs(2).
struct SpaceFigures {
    std::uint64_t blockBytes = 4096;
    std::uint64_t blocks = 0;
    std::uint64_t freeBlocks = 0;
    std::uint64_t availableBlocks = 0;
    std::uint32_t idFirst = 0;
    std::uint32_t idSecond = 0;
};

/// Copies the bytes of a device from `offset` on; the range lies within the device.
using Content = std::function<void(std::uint64_t offset, char* buffer, std::size_t size)>;

/// The machine behind base/os.h while this object lives; one at a time. A call without a machine aborts. Descriptor
/// numbers are never reused, so that use of a stale one is noticed. All operations may be called from
/// several threads at once; describe the machine before they start.
class FakeOs {
public:
    FakeOs();
    FakeOs(const FakeOs&) = delete;
    FakeOs& operator=(const FakeOs&) = delete;
    ~FakeOs();

    // The machine. A later description of a path replaces the earlier one.

    /// A block device: a seek past its end fails, as the kernel's does.
    FakeOs& device(const std::string& path, const DiskImage& image);
    /// A block device whose bytes are computed, so that a huge one costs nothing.
    FakeOs& device(const std::string& path, std::uint64_t sizeBytes, Content content);
    /// A regular file: seeks go anywhere, it has no device size, its text can be read as a mount table.
    FakeOs& file(const std::string& path, const std::string& text);
    /// The same, but it cannot be opened for update.
    FakeOs& readOnlyFile(const std::string& path, const std::string& text);
    /// A directory listing "." and "..", then these names in this order; exactly these when "." is among them.
    FakeOs& directory(const std::string& path, const std::vector<std::string>& entries);
    FakeOs& link(const std::string& path, const std::string& target);
    /// A path that exists and allows nothing else.
    FakeOs& node(const std::string& path);
    FakeOs& fileSystem(const std::string& path, const SpaceFigures& figures);
    FakeOs& remove(const std::string& path);
    /// What sysfs shows of a disk: its size and number, and a directory with its attributes and partitions. Adds the
    /// name to /sys/block.
    FakeOs& sysfsDisk(const std::string& name, std::uint64_t sectors, const std::string& majorMinor,
                      const std::vector<std::string>& partitions);

    // The calls so far.

    /// Calls since the machine was made, or since the last `failCall`, `heal` or `forgetCalls`.
    int calls() const;
    /// The same calls as text, in order: "lseek(/dev/sda, 446)".
    std::vector<std::string> callTexts() const;
    void forgetCalls();
    /// Counts calls without keeping their texts.
    FakeOs& keepNoTexts();
    int openDescriptors() const;
    /// Descriptors, directories and mount tables.
    int openHandles() const;
    int mostOpenDescriptors() const;
    /// Paths whose descriptor was closed without ever being close-on-exec.
    std::vector<std::string> inheritablePaths() const;
    /// Uses of a descriptor, directory or table that is not open.
    int staleUses() const;
    /// True on a thread during one of the machine's calls. The kernel would not use the program's memory, so tests that
    /// make allocations fail spare those of the machine.
    static bool isAnswering();

    // Faults. They stay until `heal`.

    /// The n-th call from now on fails, and with `fromThenOn` every later one.
    void failCall(int n, Fault how, Effect effect = {});
    /// Every call whose text begins with this fails.
    void failCallsLike(const std::string& beginning, Effect effect = {});
    void heal();
    /// Paths of the calls that were made to fail, as the calls named them.
    std::vector<std::string> hitPaths() const;

    struct State;

private:
    std::unique_ptr<State> state;
};

}  // namespace diskmgt_test
