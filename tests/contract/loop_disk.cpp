// Attaching of a disk image in memory.
#include "tests/contract/loop_disk.h"

#include <fcntl.h>
#include <linux/blkpg.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace contract {

namespace {

constexpr int kMostTries = 20;  // another process may take the free device first

constexpr unsigned int kPartitionSectors = 256;

constexpr unsigned int startSector(unsigned int slot) { return 512 + slot * kPartitionSectors; }

/// A table of two Linux partitions.
std::array<unsigned char, 512> partitionTable() {
    std::array<unsigned char, 512> sector = {};
    for (unsigned int slot = 0; slot < LoopDisk::kPartitions; ++slot) {
        unsigned char* const entry = sector.data() + 446 + slot * 16;
        entry[4] = 0x83;                                                // type: Linux
        entry[9] = static_cast<unsigned char>(startSector(slot) >> 8);  // second byte of the start
        entry[13] = kPartitionSectors >> 8;                             // second byte of the length
    }
    sector[510] = 0x55;
    sector[511] = 0xAA;
    return sector;
}

int imageInMemory() {
    const int image = memfd_create("loop-disk", MFD_CLOEXEC);
    if (image < 0) return image;
    const auto table = partitionTable();
    const bool isComplete = ftruncate(image, LoopDisk::kSizeBytes) == 0 &&
                            pwrite(image, table.data(), table.size(), 0) == static_cast<ssize_t>(table.size());
    if (isComplete) return image;
    (void)close(image);
    return -1;
}

/// Adds a partition to the kernel or removes it. Kernels that read such tables already have it; others need this.
void tellKernel(int device, int operation, unsigned int slot) {
    blkpg_partition partition = {};
    partition.pno = static_cast<int>(slot) + 1;
    partition.start = static_cast<long long>(startSector(slot)) * 512;
    partition.length = static_cast<long long>(kPartitionSectors) * 512;
    blkpg_ioctl_arg request = {operation, 0, sizeof partition, &partition};
    (void)ioctl(device, BLKPG, &request);  // fails when already done
}

}  // namespace

LoopDisk::LoopDisk() {
    const int image = imageInMemory();
    bool isAttached = false;
    for (int tries = 0; image >= 0 && !isAttached && tries < kMostTries; ++tries) isAttached = attach(image);
    if (!isAttached) reason = std::strerror(errno);
    if (image >= 0) (void)close(image);  // the loop device holds it now
}

bool LoopDisk::attach(int image) {
    const int control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    if (control < 0) return false;
    const int number = ioctl(control, LOOP_CTL_GET_FREE);
    (void)close(control);
    if (number < 0) return false;
    const std::string path = "/dev/loop" + std::to_string(number);
    device = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (device < 0) return false;
    if (ioctl(device, LOOP_SET_FD, image) == 0) {
        loop_info64 settings = {};
        settings.lo_flags = LO_FLAGS_AUTOCLEAR | LO_FLAGS_PARTSCAN;
        if (ioctl(device, LOOP_SET_STATUS64, &settings) == 0) {
            for (unsigned int slot = 0; slot < kPartitions; ++slot) tellKernel(device, BLKPG_ADD_PARTITION, slot);
            devicePath = path;
            return true;
        }
        (void)ioctl(device, LOOP_CLR_FD, 0);
    }
    const int failure = errno;
    (void)close(device);
    device = -1;
    errno = failure;
    return false;
}

LoopDisk::~LoopDisk() {
    if (device < 0) return;
    for (unsigned int slot = 0; slot < kPartitions; ++slot) tellKernel(device, BLKPG_DEL_PARTITION, slot);
    (void)ioctl(device, LOOP_CLR_FD, 0);
    (void)close(device);
}

}  // namespace contract
