// Makes known what a check does and finds, as it goes.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>

#include "check/check_records.h"

namespace diskmgt {

class CheckJournal {
public:
    void begin(Check check);
    /// `note`: what was looked at.
    void end(Check check, const std::string& note = "");
    /// Of findings of one check and class, those past a thousand are only counted, and the count is said at the end.
    /// One that was made before is not made again.
    void add(const CheckFinding& finding);
    void add(const CheckFindings& findings);

private:
    std::set<std::string> made;                                   // packed
    std::map<std::pair<Check, std::string>, std::size_t> counts;  // by check and class
    std::map<Check, std::size_t> unsaid;
};

}  // namespace diskmgt
