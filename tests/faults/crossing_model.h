// CrossingModel: what a request must come to when crossings of the boundary fail, derived from what each crossing is.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"
#include "tests/faults/full_request.h"

namespace diskmgt_test {

/// What a faulty request is expected to leave behind. A text that ends in "*" stands for every text that begins so.
struct Expectation {
    Outcome outcome;
    /// Association classes whose instances follow from the instance classes, rather than standing in `outcome`.
    std::vector<std::string> derived;
};

class CrossingModel {
public:
    /// From the trace of a request in which nothing failed.
    explicit CrossingModel(const std::vector<refhost::TraceEntry>& trace);

    std::size_t crossings() const { return made.size(); }
    /// "crossing 17, setProperty of VEXSG_DiskDrive Name".
    std::string describe(std::size_t crossing) const;

    Expectation clean() const;
    Expectation expected(const refhost::FaultPlan& plan) const;

private:
    /// What one crossing was for. The order in which a class is served: both questions, the collecting, then an
    /// instance after the other, each property after property.
    enum class Stage { identity, association, name, collecting, creation, property, commit };

    struct Crossing {
        std::string call;
        std::string className;  // being served; empty before the first
        Stage stage = Stage::identity;
        std::string property;  // being set
        std::string text;      // for a log line its severity and text, for a property its text before parsing
        std::string assigned;  // what setProperty assigns; array elements joined by "|"
    };
    class Walk;

    std::vector<Crossing> made;  // the n-th at n - 1
};

/// Compares, associations that are derived by searching the pairs of what was published.
void expectOutcome(const Outcome& actual, const Expectation& expected);

}  // namespace diskmgt_test
