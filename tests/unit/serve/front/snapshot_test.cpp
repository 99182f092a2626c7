// What the front makes of a collection.
#include "serve/front/snapshot.h"

#include <gmock/gmock.h>

#include "serve/cimxml/cim_failure.h"

using namespace diskmgt::serve;

namespace {

class SnapshotTest : public testing::Test {
protected:
    diskmgt::ServedClass served(const char* className, const std::string& failure, std::size_t count) const {
        diskmgt::ServedClass one;
        one.published.declaration = host.findClass(className);
        one.failure = failure;
        for (std::size_t i = 0; i < count; ++i) {
            refhost::Instance& instance = one.published.instances.emplace_back();
            instance.className = className;
            for (const refhost::PropertyDeclaration& property : one.published.declaration->properties) {
                refhost::PropertyValue& value = instance.properties.emplace_back();
                value.declaration = &property;
                value.isNull = property.name != "DeviceID";
                if (!value.isNull) value.elements = {std::to_string(i)};
            }
        }
        return one;
    }
    std::string whyNot(const std::string& records, const char* className) const {
        InstancesHead head;
        head.leftOut = {{"VEXSG_LogicalDisk", "a mount does not answer"}};
        const InstanceSnapshot snapshot(host, head, records);
        try {
            const CimClass& cls = *snapshot.store().tree().find(className);
            snapshot.store().requireAll(cls);
            return std::to_string(snapshot.store().objectsOf(cls).size()) + " instances";
        } catch (const CimFailure& failure) {
            return failure.what();
        }
    }

    const refhost::ReferenceHost host = refhost::ReferenceHost(refhost::HostOptions());
};

}  // namespace

TEST_F(SnapshotTest, WhatWasLeftOutIsNotKnown) {
    EXPECT_EQ(whyNot("", "VEXSG_LogicalDisk"),
              "The instances of VEXSG_LogicalDisk are not known: a mount does not answer.");
    EXPECT_EQ(whyNot("", "VEXSG_DiskDrive"), "0 instances");
}

TEST_F(SnapshotTest, AFailureHidesNoInstanceThatThereIs) {
    EXPECT_EQ(whyNot(packed(served("VEXSG_DiskDrive", "an error was logged: x", 2)), "VEXSG_DiskDrive"), "2 instances");
    EXPECT_EQ(whyNot(packed(served("VEXSG_DiskDrive", "the request ended early: x", 0)), "VEXSG_DiskDrive"),
              "The instances of VEXSG_DiskDrive are not known: the request ended early: x.");
}
