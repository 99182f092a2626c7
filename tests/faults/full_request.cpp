#include "tests/faults/full_request.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "plugin/log/log_message.h"
#include "tests/support/host_session.h"
#include "tests/support/served_classes.h"

namespace diskmgt_test {

namespace {

constexpr const char* kLinuxType = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
constexpr const char* kEfiType = "C12A7328-F81F-11D2-BA4B-00A0C93EC93B";

void describeDisks(FakeOs& machine) {
    machine.device("/dev/sda", DiskImage(8 << 20)
                                   .slot(0, 0x83, 64, 1000, 0, 0x80)
                                   .slot(1, 0x05, 2048, 8000)
                                   .slot(3, 0x83, 12000, 1000)
                                   .slot(0, 0x83, 64, 500, 2048)
                                   .slot(1, 0x05, 1000, 600, 2048)
                                   .slot(0, 0x82, 64, 500, 3048));
    machine.device("/dev/sdb", DiskImage().gpt(128).gptEntry(1, kEfiType, 40, 99).gptEntry(5, kLinuxType, 100, 1999));
    machine.device("/dev/sdc", DiskImage());
    machine.device("/dev/sdd", DiskImage());
    machine.device("/dev/nvme0n1", DiskImage().slot(0, 0x83, 64, 100).slot(1, 0x8E, 200, 300));
    machine.node("/dev/nvme0n1p1").node("/dev/nvme0n12");
    machine.device("/dev/ram0", DiskImage());
}

void describeSysfs(FakeOs& machine) {
    machine.sysfsDisk("ram0", 8192, "1:0", {});
    machine.sysfsDisk("dm-0", 2048, "253:0", {});
    machine.sysfsDisk("loop0", 0, "7:0", {});
    machine.sysfsDisk("sda", 16384, "8:0", {"sda1", "sda2", "sda3", "sda5", "sda6"});
    machine.sysfsDisk("nvme0n1", 2048, "259:0", {"nvme0n1p1", "nvme0n1p2"});
    machine.sysfsDisk("sdb", 2048, "8:16", {"sdb1", "sdb5"});
    machine.sysfsDisk("sdc", 2048, "135:32", {});  // its number begins like that of a RAM disk
    machine.sysfsDisk("sdd", 2048, "8:48", {});
    machine.sysfsDisk("sde", 2048, "8:64", {});
}

void describeMounts(FakeOs& machine) {
    machine.file("/etc/mtab",
                 "/dev/sda1 / ext4 rw,relatime 0 0\n"
                 "proc /proc proc rw 0 0\n"
                 "tmpfs /run tmpfs rw,nosuid,size=1631904k 0 0\n"
                 "tmpfs /tmp tmpfs rw 0 0\n"
                 "/dev/mapper/vg-root /srv xfs rw 0 0\n"
                 "/dev/disk/by-label/data /data ext4 ro 0 0\n"
                 "/dev/nvme0n1p1 /fast btrfs rw,compress=zstd 0 0\n");
    for (const auto& [path, target] : serverLinks()) machine.link(path, target);
    machine.fileSystem("/", {4096, 1000, 500, 450, 2049, 7});
    machine.fileSystem("/proc", {4096, 0, 0, 0, 0, 0});
    machine.fileSystem("/run", {4096, 20, 10, 10, 24, 0});
    machine.fileSystem("/tmp", {4096, 40, 30, 30, 25, 0});
    machine.fileSystem("/srv", {1024, 70, 60, 50, 3, 4});
    machine.fileSystem("/dev/disk/by-label/data", {4096, 5, 4, 4, 6, 0});  // holds the nodes: /data cannot be measured
}

std::string quoted(const std::string& value) {
    std::string text = "\"";
    for (const char character : value) {
        if (character == '"' || character == '\\') text += '\\';
        text += character;
    }
    return text + "\"";
}

/// The object path of a logical device.
std::string pathOf(const std::string& className, const Texts& texts) {
    std::string path = className;
    char separator = '.';
    for (const char* const key : {"CreationClassName", "DeviceID", "SystemCreationClassName", "SystemName"}) {
        const auto found = texts.find(key);
        if (found == texts.end()) continue;
        path += separator;
        path += key;
        path += "=" + quoted(found->second);
        separator = ',';
    }
    return path;
}

using Index = std::multimap<std::string, std::string>;  // key text to object path

Index indexOf(const Outcome& outcome, const std::string& className, const std::string& keyProperty) {
    Index index;
    for (const Texts& texts : outcome.of(className)) {
        const auto key = texts.find(keyProperty);
        index.emplace(key == texts.end() ? "Unknown" : key->second, pathOf(className, texts));
    }
    return index;
}

/// The path of the first entry whose key lies within the text.
std::optional<std::string> firstWithin(const Index& index, const std::string& text) {
    for (const auto& [key, path] : index)
        if (text.find(key) != std::string::npos) return path;
    return std::nullopt;
}

std::vector<std::string> shown(const std::vector<Texts>& instances) {
    std::vector<std::string> lines;
    for (const Texts& texts : instances) {
        std::string& line = lines.emplace_back();
        for (const auto& [name, text] : texts) line += (line.empty() ? "" : ", ") + name + "=" + text;
    }
    return lines;
}

std::string listDifferences(const std::string& what, const std::vector<std::string>& actual,
                            const std::vector<std::string>& expected) {
    if (actual == expected) return std::string();
    const auto missingFrom = [](const std::vector<std::string>& some, const std::vector<std::string>& others,
                                const std::string& label) {
        std::string text;
        for (const std::string& one : others)
            if (std::count(some.begin(), some.end(), one) < std::count(others.begin(), others.end(), one))
                text += label + one + '\n';
        return text;
    };
    const std::string found = missingFrom(expected, actual, what + " too much: ");
    const std::string lost = missingFrom(actual, expected, what + " missing: ");
    return found.empty() && lost.empty() ? what + " in another order\n" : found + lost;
}

}  // namespace

void describeServer(FakeOs& machine) {
    describeDisks(machine);
    describeSysfs(machine);
    describeMounts(machine);
}

const std::map<std::string, std::string>& serverLinks() {
    static const std::map<std::string, std::string> links{{"/dev/mapper/vg-root", "../dm-0"},
                                                          {"/dev/disk/by-label/data", "/dev/sdb5"}};
    return links;
}

const std::vector<std::string>& allClasses() {
    static const std::vector<std::string> classes = [] {
        std::vector<std::string> all{"VEXSG_DiskDrive", "VEXSG_DiskPartition", "VEXSG_LogicalDisk"};
        for (const std::string& className : servedClasses())
            if (std::find(all.begin(), all.end(), className) == all.end()) all.push_back(className);
        return all;
    }();
    return classes;
}

bool isAssociationClass(const std::string& className) {
    const std::vector<std::string>& associations = associationClasses();
    return std::find(associations.begin(), associations.end(), className) != associations.end();
}

std::string differences(const Outcome& actual, const Outcome& expected) {
    std::string text;
    if (actual.failure != expected.failure)
        text += "failure " + actual.failure.value_or("(none)") + ", not " + expected.failure.value_or("(none)") + '\n';
    text += listDifferences("line", actual.log, expected.log);
    for (const auto& [className, instances] : expected.published)
        text += listDifferences(className, shown(actual.of(className)), shown(instances));
    return text;
}

/// The plug-in's entry object, with the test's surroundings.
class FullRequest::Entry : public diskmgt_col::TDiskMgtCallbacks {
public:
    explicit Entry(FullRequest& owningSession) : session(owningSession) {}
    void GetData(boost::shared_ptr<NVEXTAL20::ICIMNamespace> nameSpace, Classes& wanted) override {
        const Serve serve = [&] { TDiskMgtCallbacks::GetData(nameSpace, wanted); };
        if (session.around) {
            session.around(serve);
        } else {
            serve();
        }
    }

private:
    FullRequest& session;
};

FullRequest::FullRequest(std::vector<std::string> classNames)
    : host(quietHost({"/dev/sdd: Virtual Floppy"})), classes(std::move(classNames)) {
    new Entry(*this);  // registers itself; the host's from here on
}

FullRequest::~FullRequest() { diskmgt_col::LogMessage::setPluginInstance(nullptr); }

Outcome FullRequest::run() {
    const refhost::RequestResult result = host.request(classes);
    Outcome outcome;
    outcome.log = linesOf(result.log);
    outcome.failure = result.failure;
    for (const std::string& className : classes) {
        std::vector<Texts>& instances = outcome.published[className];
        for (const refhost::Instance& instance : host.instances(className)) instances.push_back(textsOf(instance));
    }
    return outcome;
}

std::vector<Texts> pairsOf(const std::string& associationClass, const Outcome& outcome,
                           const std::function<std::string(const std::string&)>& readsLink) {
    const Index drives = indexOf(outcome, "VEXSG_DiskDrive", "Name");
    const Index partitions = indexOf(outcome, "VEXSG_DiskPartition", "DeviceID");
    const Index logicalDisks = indexOf(outcome, "VEXSG_LogicalDisk", "DeviceID");
    std::vector<Texts> pairs;
    const auto add = [&](const std::string& antecedent, const std::string& dependent) {
        pairs.push_back({{"Antecedent", antecedent}, {"Dependent", dependent}});
    };
    if (associationClass == "VEXSG_PartitionPresent") {
        for (const auto& [key, partition] : partitions)
            if (const auto drive = firstWithin(drives, key)) add(*drive, partition);
    } else if (associationClass == "VEXSG_LogicalDiskBasedOnPartition") {
        for (const auto& [key, partition] : partitions)
            if (const auto logicalDisk = firstWithin(logicalDisks, key)) add(partition, *logicalDisk);
    } else if (associationClass == "VEXSG_MediaPresent") {
        for (const auto& [key, logicalDisk] : logicalDisks) {
            auto drive = firstWithin(drives, key);
            const std::string target = drive ? "" : readsLink(key);
            if (!target.empty()) drive = firstWithin(drives, target);
            if (drive) add(*drive, logicalDisk);
        }
    }
    return pairs;
}

std::vector<Texts> pairsOf(const std::string& associationClass, const Outcome& outcome) {
    return pairsOf(associationClass, outcome, [](const std::string& path) {
        const auto link = serverLinks().find(path);
        return link == serverLinks().end() ? std::string() : link->second;
    });
}

void expectAssociationsFollow(const Outcome& outcome, const std::string& butFor) {
    for (const auto& [className, instances] : outcome.published) {
        if (!isAssociationClass(className) || className == butFor) continue;
        EXPECT_EQ(instances, pairsOf(className, outcome)) << className;
    }
}

}  // namespace diskmgt_test
