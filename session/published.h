// What the plug-in published for one inventory: the instances of the classes an inventory is made of.
#pragma once

#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace diskmgt {

/// The class of the system that all disks belong to. Its one instance is the host's own.
inline constexpr const char* kHostingSystem = "VEXSG_ComputerSystem";

/// The classes of an inventory, in the order they are requested: an association follows the classes it pairs, and what
/// a dead mount can stall comes last.
const std::vector<std::string>& inventoryClasses();

struct PublishedClass {
    const refhost::ClassDeclaration* declaration = nullptr;
    std::vector<refhost::Instance> instances;
};

/// What the plug-in or host reported while a class was served.
struct ClassFailure {
    std::string className;
    std::string text;
    bool isLeftOut = false;  // it was not asked for, and the text says why
};

struct Published {
    std::vector<refhost::Instance> systems;   // the hosting system, which the host publishes itself
    std::vector<PublishedClass> classes;      // in the order of `inventoryClasses`; those served completely
    std::vector<ClassFailure> failures;       // one per class at most
    std::vector<std::string> missingClasses;  // not asked for, or not served when time ran out

    bool isAnyLeftOut() const;
};

/// Empty when the class was not served.
const std::vector<refhost::Instance>& instancesOf(const Published& published, const std::string& className);

}  // namespace diskmgt
