// The classes of the second host, written out by hand.
#pragma once

#include <string>
#include <vector>

#include "tests/contract/second_host/kinds.h"

namespace second_host {

struct PropertyRow {
    std::string name;
    Kind kind;
    bool isArray = false;
    std::string referenceClass = {};  // of a reference: the class it must name, or one beneath it
};

struct ClassRow {
    std::string name;
    std::string parent;  // empty: none
    bool isAssociation;
    std::vector<PropertyRow> properties;  // inherited ones included
};

/// Every class, parents ahead of their children.
const std::vector<ClassRow>& classTable();

}  // namespace second_host
