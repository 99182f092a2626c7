// KernelModel: what the described server must look like when questions to the kernel fail, derived from what each
// question was for.
#pragma once

#include <set>
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
        int nth = 1;              // of this name and detail in the same reading of tables, or of the same path
    };

    /// From a request in which nothing failed: its calls as a FakeOs tells them, and its outcome.
    KernelModel(const std::vector<std::string>& callTexts, Outcome cleanOutcome);

    int calls() const { return static_cast<int>(made.size()); }
    const Call& at(int number) const { return made[static_cast<std::size_t>(number) - 1]; }
    std::string describe(int number) const;
    /// Whether the path exists on the server; what fails to be opened anyway teaches nothing twice.
    bool leadsSomewhere(int number) const;

    /// The outcome when one call fails.
    Outcome whenFails(int number) const;

    /// Asserts of an outcome with every call from `number` on failing: all that was found before is there, nothing
    /// that is asked for later is.
    void expectNothingFrom(int number, const Outcome& actual) const;

    /// Asserts that at the most the partitions of the call's disk differ from a request in which nothing failed.
    void expectOnlyDiskOf(int number, const Outcome& actual) const;

private:
    void failInDrives(const Call& call, int number, Outcome& outcome) const;
    void failInTables(const Call& call, std::vector<Texts>& partitions) const;
    void failInMounts(const Call& call, int number, Outcome& outcome) const;
    void derivePairs(Outcome& outcome, const std::string& unreadableLink) const;
    std::vector<Texts> partitionsOf(const std::string& disk) const;
    /// Earlier calls of the same name about the same path.
    int readsBefore(int number) const;
    int firstCallAbout(const std::string& disk, Phase phase) const;
    int lastCallAbout(const std::string& disk, Phase phase) const;

    std::vector<Call> made;
    Outcome clean;
};

}  // namespace diskmgt_test
