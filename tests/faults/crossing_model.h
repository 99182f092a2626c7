// CrossingModel: the crossings of the boundary that a request makes, by what they are for, and what must hold whichever
// of them fails.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "tests/faults/full_request.h"

namespace diskmgt_test {

class CrossingModel {
public:
    /// From a request in which nothing failed: its trace and its outcome.
    CrossingModel(const std::vector<refhost::TraceEntry>& trace, Outcome cleanOutcome);

    std::size_t crossings() const { return made.size(); }
    /// "crossing 17 of 900, setProperty while serving VEXSG_DiskDrive".
    std::string describe(std::size_t crossing) const;

    /// Asserts that the request ends only where nothing of a class can be given up, that no other class suffers, and
    /// that what is lost is logged.
    void expectOnlyItsClassSuffers(const refhost::FaultPlan& plan, const Outcome& actual) const;

private:
    /// What one crossing was for. The order in which a class is served: both questions, the collecting, then an
    /// instance after the other, each property after property.
    enum class Stage { identity, association, name, collecting, creation, property, commit };

    struct Crossing {
        std::string call;
        std::string className;  // being served; empty before the first
        Stage stage = Stage::identity;
        bool servesAssociation() const { return isAssociationClass(className); }
    };

    bool endsTheRequest(const Crossing& at, const refhost::FaultPlan& plan) const;
    void expectClass(const std::string& className, const Crossing& at, const refhost::FaultPlan& plan,
                     const Outcome& actual) const;
    void expectLog(const Crossing& at, const refhost::FaultPlan& plan, const Outcome& actual) const;

    std::vector<Crossing> made;  // the n-th at n - 1
    Outcome clean;
};

}  // namespace diskmgt_test
