// The pairs as published, and what each of their sides is in the kernel's account.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cli/explain/explanation.h"
#include "inventory/server_account.h"

namespace diskmgt {

class PublishedPairs {
public:
    /// The account must outlive it.
    explicit PublishedPairs(const ServerAccount& joined);

    /// The pairs that name the instance as a side, in the order published.
    std::vector<PairExplanation> of(const refhost::Instance& instance) const;
    /// Of all pairs those that the kernel's account contradicts.
    std::vector<PairExplanation> wrongOnes() const;

    /// Whether CIM says that this logical disk or partition lies on an instance of the association's other class.
    bool isLinked(const std::string& association, const refhost::Instance& dependent) const;
    /// The logical disk that is paired with a partition; null: none.
    const LogicalDisk* logicalDiskOn(const refhost::Instance& partition) const;
    /// The published file system of a mount; null: it is not published.
    const LogicalDisk* logicalDiskOf(const CimAnswer& answer) const;

private:
    enum class Role { kDrive, kPartition, kLogicalDisk };
    struct Side {
        Role role = Role::kDrive;
        std::string name;
        const refhost::Instance* instance = nullptr;
        std::vector<std::size_t> devices;  // that it is, or for a logical disk: lies on
        bool isPlaced = false;             // the kernel has it
        std::string where;                 // of a logical disk: its mount point
    };
    struct Pair {
        const std::string* association = nullptr;
        const Side* antecedent = nullptr;
        const Side* dependent = nullptr;
    };

    void addSides();
    void addPairs(const std::string& association);
    bool isRight(const Pair& pair) const;
    /// Whether one of the devices is the other one, or lies on it through any layers.
    bool isBeneath(std::size_t lower, const std::vector<std::size_t>& devices) const;
    std::string textOf(const Pair& pair) const;
    std::string truthAbout(const Side& side) const;
    PairExplanation explained(const Pair& pair) const;
    const Pair* find(const std::string& association, const refhost::Instance& instance) const;

    const ServerAccount& account;
    std::unordered_map<std::string_view, Side> sides;  // by object path; of equal ones the first counts
    std::unordered_map<const refhost::Instance*, std::size_t> logicalDisks;
    std::vector<Pair> pairs;
    std::unordered_map<const refhost::Instance*, std::vector<std::size_t>>
        pairsOf;  // either side: positions in `pairs`
};

/// The layers beneath these devices, themselves first where `isInclusive`.
Layers layersBeneath(const ServerAccount& account, const std::vector<std::size_t>& devices, bool isInclusive);
/// "dm-0 (vg-root), on sda3, on sda"; empty for no layers.
std::string layersText(const ServerAccount& account, const Layers& layers);

}  // namespace diskmgt
