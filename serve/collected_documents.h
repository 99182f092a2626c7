// One collection on its way from the collector to the front: the texts that are served, and the instances.
#pragma once

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "session/packed_classes.h"

namespace diskmgt::serve {

/// A class whose instances are not all known.
struct MissingClass {
    std::string className;
    std::string why;  // a clause: "the file system mounted on /mnt (nfs) does not answer"
};

struct CollectedDocuments {
    std::string systemName;
    std::string stall;  // a sentence about a mount that does not answer; empty: all answer
    std::string json, metrics, page;
    std::vector<MissingClass> missing;  // not asked for; those that failed are among `classes`
    // From the records beside them:
    Beginning beginning;
    std::vector<ServedClass> classes;
};

/// The texts alone: the records that `collectAccount` made known follow them as they are.
std::string packed(const CollectedDocuments& documents);

/// Absent: it is not whole.
std::optional<CollectedDocuments> unpackedDocuments(
    const std::string& bytes,
    const std::function<const refhost::ClassDeclaration*(const std::string& className)>& declarationOf);

}  // namespace diskmgt::serve
