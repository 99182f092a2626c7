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
    std::string referenceClass = {};  // of a reference: it must name this class or one beneath it
};

struct ClassRow {
    std::string name;
    std::string parent;  // empty: a root
    bool isAssociation;
    std::vector<PropertyRow> properties;  // inherited ones included
};

/// Every class, parents ahead of their children.
const std::vector<ClassRow>& classTable();

}  // namespace second_host
