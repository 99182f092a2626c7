// LDMDataBase: what a logical disk manager would report about dynamic disks. Linux has no such manager, so the store
// of these records stays empty; collectors accept it and neither read nor write it.
#pragma once

#include <map>
#include <string>

namespace diskmgt_col {

class LDMDataBase {
public:
    using Table = std::map<std::string, std::map<std::string, std::string>>;  // identifier to named text fields
    using Texts = std::map<std::string, std::string>;                         // name to text

    LDMDataBase() = default;
    LDMDataBase(const LDMDataBase&) = default;
    LDMDataBase& operator=(const LDMDataBase&) = default;
    virtual ~LDMDataBase() = default;

    Table tables[5];
    Texts texts[2];
};

/// The collected-data store, keyed by a text of the manager's choice.
using LDMStore = std::map<std::string, LDMDataBase>;

}  // namespace diskmgt_col
