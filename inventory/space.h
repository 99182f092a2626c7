// The space of a mounted file system, and how much of it is in use.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

namespace diskmgt {

/// In bytes.
struct Space {
    std::uint64_t total = 0;
    std::uint64_t free = 0;                  // includes what is kept for root
    std::optional<std::uint64_t> available;  // to users; absent: not measured
    /// The mount point could not be measured, so the figures are those of the file system that holds the source's path.
    bool isOfSourcePath = false;

    std::uint64_t used() const { return total - std::min(free, total); }

    /// What users can fill altogether: what is kept for root counts as neither used nor usable, as in df.
    long double usable() const {
        return static_cast<long double>(available ? *available : total - used()) + static_cast<long double>(used());
    }

    /// Part of it that is in use, from 0 to 1; absent when nothing is usable.
    std::optional<long double> usedShare() const {
        if (usable() <= 0) return std::nullopt;
        return static_cast<long double>(used()) / usable();
    }

    /// Rounded up, as in df: it is 0 only where nothing is in use.
    std::optional<int> usedPercent() const {
        if (usable() <= 0) return std::nullopt;
        // Multiplied first: 29 of 100 must not become a little more than 29 %.
        return static_cast<int>(std::ceil(static_cast<long double>(used()) * 100 / usable()));
    }
};

/// From so many percent on a file system is shown as nearly full.
constexpr int kNearlyFullPercent = 90;

}  // namespace diskmgt
