// The classes of an inventory, and access by class.
#include "session/published.h"

#include "schema/vocabulary.h"

namespace diskmgt {

using namespace diskmgt_col;  // the names of classes

const std::vector<std::string>& inventoryClasses() {
    static const std::vector<std::string> classes = {kDiskDrive,   kDiskPartition, kPartitionPresent,
                                                     kLogicalDisk, kMediaPresent,  kLogicalDiskBasedOnPartition};
    return classes;
}

const std::vector<refhost::Instance>& instancesOf(const Published& published, const std::string& className) {
    static const std::vector<refhost::Instance> none;
    for (const PublishedClass& cls : published.classes)
        if (cls.declaration->name == className) return cls.instances;
    return none;
}

}  // namespace diskmgt
