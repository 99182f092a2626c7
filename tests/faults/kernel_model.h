// KernelModel: the questions that a request asks the kernel, by what they are for, and what must hold whichever of them
// fails.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/full_request.h"

namespace diskmgt_test {

class KernelModel {
public:
    enum class Phase { drives, partitions, mounts, links };

    struct Call {
        std::string name;    // "open"
        std::string path;    // as it was asked for
        std::string detail;  // "446"
        Phase phase = Phase::drives;
        std::string disk;         // the device that it is about: "/dev/sda"; empty: none
        bool isInTables = false;  // asked by the reading of partition tables
    };

    /// From a request in which nothing failed: its calls as a FakeOs tells them, and its outcome.
    KernelModel(const std::vector<std::string>& callTexts, Outcome cleanOutcome);

    int calls() const { return static_cast<int>(made.size()); }
    const Call& at(int number) const { return made[static_cast<std::size_t>(number) - 1]; }
    std::string describe(int number) const;
    /// Whether the path exists on the server; what fails to be opened anyway teaches nothing twice.
    bool leadsSomewhere(int number) const;

    /// Asserts what must hold when one call fails: no other disk or mount suffers, nothing is made up, the associations
    /// are those of what is there, and the log says what it should.
    void expectOnlyItsOwnLoss(int number, const Outcome& actual) const;

    /// Asserts of an outcome with every call from `number` on failing: all that was found before is there, nothing
    /// that is asked for later is.
    void expectNothingFrom(int number, const Outcome& actual) const;

    /// Asserts that at the most the partitions of the call's disk differ from a request in which nothing failed.
    void expectOnlyDiskOf(int number, const Outcome& actual) const;

private:
    void expectLog(const Call& call, const Outcome& actual) const;
    void expectDrives(const Call& call, const Outcome& actual) const;
    void expectPartitions(const Call& call, const Outcome& actual) const;
    void expectLogicalDisks(const Call& call, int number, const Outcome& actual) const;
    void expectMountsReadBefore(int number, const Outcome& actual) const;
    std::vector<Texts> partitionsOf(const std::string& disk) const;
    bool isAskedBefore(int number, const std::string& name, const std::string& path) const;
    int firstCallAbout(const std::string& disk, Phase phase) const;
    int lastCallAbout(const std::string& disk, Phase phase) const;

    std::vector<Call> made;
    Outcome clean;
};

}  // namespace diskmgt_test
