// Which published partition of a disk is which of the kernel's. Names do not decide: the plug-in may name a partition
// otherwise, or name two alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace diskmgt {

/// A partition as published, in bytes.
struct PublishedPlace {
    enum class Kind { kGpt, kPrimary, kExtended, kLogical };

    Kind kind = Kind::kGpt;
    std::string name;  // with /dev/
    std::uint64_t size = 0;
    std::optional<std::uint64_t> start;  // exact for GPT; modulo 2^32 for the others, relative for logical ones
};

/// A partition as the kernel has it, in bytes.
struct KernelPlace {
    std::string name;  // with /dev/
    std::uint64_t number = 0;
    std::uint64_t size = 0;
    std::uint64_t start = 0;
};

/// For each published partition of one disk the position among the kernel's; absent: the kernel has no such one. GPT
/// partitions match by start and size, primary ones by start modulo 2^32 and size, extended ones by start alone because
/// the kernel gives them another size, logical ones by size in the order of their chain. What is left over then matches
/// by start alone, or by size and name: the table has changed since the kernel read it.
std::vector<std::optional<std::size_t>> placePartitions(const std::vector<PublishedPlace>& published,
                                                        const std::vector<KernelPlace>& kernels);

}  // namespace diskmgt
