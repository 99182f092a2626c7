#include "session/served_classes.h"

#include "schema/vocabulary.h"
#include "text/wording.h"

namespace diskmgt {

namespace {

using namespace diskmgt_col;  // the names of classes

bool isBeneath(const refhost::ReferenceHost& host, const refhost::ClassDeclaration& declaration,
               const std::string& className) {
    const refhost::ClassDeclaration* at = &declaration;
    while (at != nullptr && at->name != className)
        at = at->superclass.empty() ? nullptr : host.findClass(at->superclass);
    return at != nullptr;
}

/// What plug-ins serve: those of ours, and those that a schema of another plug-in's author declares.
bool isServed(const refhost::ReferenceHost& host, const std::string& className) {
    const refhost::ClassDeclaration& declared = *host.findClass(className);
    return contains(servedClasses(), className) || (!declared.isBuiltIn && !declared.isAbstract);
}

}  // namespace

const std::vector<std::string>& servedClasses() {
    static const std::vector<std::string> served = {kDiskDrive,
                                                    kCdromDrive,
                                                    kDvdDrive,
                                                    kDisketteDrive,
                                                    kTapeDrive,
                                                    kDiskPartition,
                                                    kLogicalDisk,
                                                    kDynamicExtent,
                                                    kDynamicDiskGroup,
                                                    kMediaPresent,
                                                    kPartitionPresent,
                                                    kLogicalDiskBasedOnPartition,
                                                    kLogicalDiskBasedOnExtent,
                                                    kDynamicVolumeBasedOnExtent,
                                                    kDynamicExtentBasedOn,
                                                    kDriveInDynamicDiskGroup,
                                                    kDynamicExtentInDiskGroup};
    return served;
}

std::vector<std::string> answeringClasses(const refhost::ReferenceHost& host, const std::string& className) {
    if (contains(servedClasses(), className)) return {className};
    std::vector<std::string> answering;
    for (const refhost::ClassDeclaration& declaration : host.classes())
        if (isBeneath(host, declaration, className)) answering.push_back(declaration.name);
    return answering;
}

std::vector<std::string> requestedClasses(const refhost::ReferenceHost& host, const std::vector<std::string>& named) {
    std::vector<std::string> requested;
    for (const std::string& name : named) {
        bool isAnswered = false;
        for (const std::string& answering : answeringClasses(host, name)) {
            if (answering == name || !isServed(host, answering)) continue;
            isAnswered = true;
            if (!contains(named, answering) && !contains(requested, answering)) requested.push_back(answering);
        }
        if (!isAnswered || isServed(host, name)) requested.push_back(name);
    }
    return requested;
}

}  // namespace diskmgt
