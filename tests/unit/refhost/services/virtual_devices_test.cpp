// The management controller's disks, recognised in a described sysfs.
#include "refhost/services/virtual_devices.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "plugin/host/os_specific.h"
#include "refhost/api/reference_host.h"

namespace {

namespace fs = std::filesystem;
using refhost::findVirtualDevices;
using Texts = std::vector<std::string>;

constexpr const char* kUsbPlace = "pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.0/host6/target6:0:0/6:0:0:0";
constexpr const char* kSataPlace = "pci0000:00/0000:00:17.0/ata1/host0/target0:0:0/0:0:0:0";

class VirtualDevices : public ::testing::Test {
protected:
    VirtualDevices() {
        char name[] = "/tmp/usb-sysfs-XXXXXX";  // a root whose own name says "/usb" must not count
        root = ::mkdtemp(name);
        fs::create_directories(root / "block");
    }
    ~VirtualDevices() override { fs::remove_all(root); }

    void addDevice(const std::string& name, const std::string& place, const std::string& vendor,
                   const std::string& model) const {
        const fs::path device = root / "devices" / place;
        fs::create_directories(device / "block" / name);
        std::ofstream(device / "vendor") << vendor << "\n";
        std::ofstream(device / "model") << model << "\n";
        fs::create_symlink("../..", device / "block" / name / "device");
        fs::create_symlink(fs::path("../devices") / place / "block" / name, root / "block" / name);
    }
    fs::path root;
};

TEST_F(VirtualDevices, UsbDiskCalledVirtualIsOne) {
    addDevice("sdb", kUsbPlace, "Maker   ", "Virtual HDisk   ");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts{"/dev/sdb: Maker Virtual HDisk"});
}

TEST_F(VirtualDevices, VendorMayBeTheOneCalledVirtual) {
    addDevice("sr0", kUsbPlace, "Virtual", "CDROM");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts{"/dev/sr0: Virtual CDROM"});
}

TEST_F(VirtualDevices, UsbDiskOfAnotherNameIsNone) {
    addDevice("sdb", kUsbPlace, "Maker", "Flash Disk");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts());
}

TEST_F(VirtualDevices, DiskNotReachedOverUsbIsNone) {
    addDevice("sda", kSataPlace, "Maker", "Virtual disk");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts());
}

TEST_F(VirtualDevices, EntriesMayLinkFromTheTopOfTheTree) {
    addDevice("sda", kSataPlace, "Maker", "Virtual disk");
    addDevice("sdb", kUsbPlace, "Maker", "Virtual disk");
    for (const auto& [name, place] : {std::pair("sda", kSataPlace), std::pair("sdb", kUsbPlace)}) {
        fs::remove(root / "block" / name);
        fs::create_symlink(root / "devices" / place / "block" / name, root / "block" / name);
    }
    EXPECT_EQ(findVirtualDevices(root.string()), Texts{"/dev/sdb: Maker Virtual disk"});
}

TEST_F(VirtualDevices, EntryThatIsAFolderHangsWhereItIs) {
    for (const char* const name : {"sda", "usba"}) {
        fs::create_directories(root / "block" / name / "device");
        std::ofstream(root / "block" / name / "device" / "model") << "Virtual\n";
    }
    EXPECT_EQ(findVirtualDevices(root.string()), Texts{"/dev/usba: Virtual"});
}

TEST_F(VirtualDevices, ComeInTheOrderOfTheirNames) {
    addDevice("sdc", std::string(kUsbPlace) + "1", "Virtual", "Floppy");
    addDevice("sdb", std::string(kUsbPlace) + "2", "Virtual", "CD");
    EXPECT_EQ(findVirtualDevices(root.string()), (Texts{"/dev/sdb: Virtual CD", "/dev/sdc: Virtual Floppy"}));
}

TEST_F(VirtualDevices, NodeInAFolderIsNamedAsInDev) {
    addDevice("maker!c0d0", kUsbPlace, "", "Virtual");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts{"/dev/maker/c0d0: Virtual"});
}

TEST_F(VirtualDevices, DanglingEntriesAndMissingTreesAreNothing) {
    fs::create_symlink("../devices/usb/gone", root / "block" / "sdx");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts());
    EXPECT_EQ(findVirtualDevices((root / "none").string()), Texts());
    fs::remove_all(root / "block");
    EXPECT_EQ(findVirtualDevices(root.string()), Texts());
}

TEST(VirtualDeviceService, AppendsTheEntriesGivenByHand) {
    const refhost::ReferenceHost host({"h", {"/dev/sdb", "/dev/sr1: cd"}, false});
    Texts devices{"kept"};
    EXPECT_EQ(NVEXTAL20::TOSSpecific::getBmcVirtualDevices(0, devices, false), 2);
    EXPECT_EQ(devices, (Texts{"kept", "/dev/sdb", "/dev/sr1: cd"}));
}

TEST(VirtualDeviceService, TheHostTellsWhatPluginsGet) {
    const refhost::ReferenceHost host({"h", {"/dev/sdb", "/dev/sr1: cd"}, false});
    EXPECT_EQ(host.virtualDevices(), (Texts{"/dev/sdb", "/dev/sr1: cd"}));
}

TEST(VirtualDeviceService, EntriesGoWithTheirHost) {
    { const refhost::ReferenceHost host({"h", {"/dev/sdb"}, false}); }
    const refhost::ReferenceHost host({"h", {}, false});
    Texts devices;
    EXPECT_EQ(NVEXTAL20::TOSSpecific::getBmcVirtualDevices(0, devices, false), 0);
}

}  // namespace
