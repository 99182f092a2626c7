#include "tests/support/association_scene.h"

#include "provider/result_builder.h"

namespace diskmgt_test {

using diskmgt_col::DiskInfoAssociator;
using diskmgt_col::PropertyMap;
using diskmgt_col::ReferenceMap;

namespace {

const std::vector<std::string> kClasses = {"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"};

}  // namespace

AssociationScene& AssociationScene::drives(const std::vector<std::string>& names) {
    return add("VEXSG_DiskDrive", "Name", names);
}

AssociationScene& AssociationScene::partitions(const std::vector<std::string>& deviceIds) {
    return add("VEXSG_DiskPartition", "DeviceID", deviceIds);
}

AssociationScene& AssociationScene::logicalDisks(const std::vector<std::string>& deviceIds) {
    return add("VEXSG_LogicalDisk", "DeviceID", deviceIds);
}

AssociationScene& AssociationScene::partitionWithoutKey() {
    instances.push_back({"VEXSG_DiskPartition", {{"ElementName", "keyless"}}});
    return *this;
}

AssociationScene& AssociationScene::driveWithoutKey() {
    instances.push_back({"VEXSG_DiskDrive", {{"DeviceID", "nameless"}}});
    return *this;
}

AssociationScene& AssociationScene::add(const char* className, const std::string& keyProperty,
                                        const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
        PropertyMap map = {{keyProperty, key}};
        if (keyProperty != "DeviceID") map.emplace("DeviceID", key);
        instances.emplace_back(className, map);
    }
    return *this;
}

refhost::RequestResult AssociationScene::publish(const RequestWork& work) {
    return session.insideRequest(kClasses, [&](auto nameSpace, Classes& classes) {
        for (auto& [className, map] : instances) {
            for (std::size_t i = 0; i < kClasses.size(); ++i) {
                if (kClasses[i] == className) (void)diskmgt_col::ResultBuilder()(classes[i], map);
            }
        }
        work(nameSpace, classes);
    });
}

std::vector<NamedPair> AssociationScene::pairs(Operation operation) {
    std::vector<NamedPair> found;
    const auto result = publish([&](auto nameSpace, Classes&) {
        for (const ReferenceMap& references : (DiskInfoAssociator().*operation)(nameSpace)) {
            found.emplace_back(elementOf(references, "Antecedent"), elementOf(references, "Dependent"));
        }
    });
    if (result.failure) found.emplace_back("failure", *result.failure);
    return found;
}

std::string elementOf(const ReferenceMap& references, const std::string& role) {
    const auto found = references.find(role);
    if (found == references.end()) return "no " + role;
    const std::string path = found->second;
    const std::string mark = "DeviceID=\"";
    const std::size_t begin = path.find(mark);
    const std::string className = path.substr(0, path.find('.'));
    if (begin == std::string::npos) return className;
    const std::size_t end = path.find('"', begin + mark.size());
    return className + " " + path.substr(begin + mark.size(), end - begin - mark.size());
}

}  // namespace diskmgt_test
