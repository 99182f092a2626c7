// AssociationScene: a host that already holds drives, partitions and logical disks, for the associations to pair.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "provider/disk_info_associator.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"

namespace diskmgt_test {

/// Two names: the antecedent's and the dependent's.
using NamedPair = std::pair<std::string, std::string>;

class AssociationScene {
public:
    /// Drives by "Name", the others by "DeviceID". Kept until `publish`.
    AssociationScene& drives(const std::vector<std::string>& names);
    AssociationScene& partitions(const std::vector<std::string>& deviceIds);
    AssociationScene& logicalDisks(const std::vector<std::string>& deviceIds);
    /// Instances whose key properties stay null.
    AssociationScene& partitionWithoutKey();
    AssociationScene& driveWithoutKey();

    /// Runs one operation of the associator inside a request and returns the pairs.
    using Operation = std::vector<diskmgt_col::ReferenceMap> (diskmgt_col::DiskInfoAssociator::*)(
        boost::shared_ptr<NVEXTAL20::ICIMNamespace>);
    std::vector<NamedPair> pairs(Operation operation);

    /// Publishes everything, then runs the work in the same request.
    refhost::RequestResult publish(const RequestWork& work);

    FakeOs machine;
    HostSession session;

private:
    AssociationScene& add(const char* className, const std::string& keyProperty, const std::vector<std::string>& keys);

    std::vector<std::pair<std::string, diskmgt_col::PropertyMap>> instances;
};

/// The class and "DeviceID" in the object path of a role's reference: "VEXSG_DiskDrive /dev/sda".
std::string elementOf(const diskmgt_col::ReferenceMap& references, const std::string& role);

}  // namespace diskmgt_test
