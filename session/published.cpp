#include "session/published.h"

#include <algorithm>

#include "schema/vocabulary.h"

namespace diskmgt {

using namespace diskmgt_col;  // the names of classes

const std::vector<std::string>& inventoryClasses() {
    static const std::vector<std::string> classes = {kDiskDrive,   kDiskPartition, kPartitionPresent,
                                                     kLogicalDisk, kMediaPresent,  kLogicalDiskBasedOnPartition};
    return classes;
}

bool Published::isAnyLeftOut() const {
    return std::any_of(failures.begin(), failures.end(), [](const ClassFailure& failure) { return failure.isLeftOut; });
}

const std::vector<refhost::Instance>& instancesOf(const Published& published, const std::string& className) {
    static const std::vector<refhost::Instance> none;
    for (const PublishedClass& cls : published.classes)
        if (cls.declaration->name == className) return cls.instances;
    return none;
}

}  // namespace diskmgt
