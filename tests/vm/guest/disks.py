"""The disks of a guest and how they are attached. What is on them the guest makes itself (inside/scenes.sh), and finds
them by their serial numbers."""

MIB = 1 << 20

# (serial number, MiB): virtio-blk, so vda, vdb, ...
VIRTIO = [("lvmroot", 448), ("cloud", 64)]

# (serial number, MiB, further properties): virtio-scsi, so sda, sdb, ...
SCSI = [
    ("vault", 96, ""), ("wholeluks", 48, ""),
    ("pairone", 64, ""), ("pairtwo", 64, ""),
    ("wholeone", 32, ""), ("wholetwo", 32, ""),
    ("large", 64, "logical_block_size=4096,physical_block_size=4096"),
    ("gap", 64, ""),
    ("butterone", 128, ""), ("buttertwo", 128, ""),
    ("plain", 32, ""), ("locked", 32, ""), ("holding", 48, ""),
]
PATHS = ("manyways", 64, 2)  # one disk behind so many SCSI devices
FILLING = 13                 # disks of zeroes, so that the last ones get names of two letters
LAST = [("far", 32, ""), ("farther", 32, "")]
NVME = ("fast", 64, 2)       # one namespace behind so many controllers


def serials():
    """The serial number of each disk that the kernel shows."""
    serial, _, paths = PATHS
    return [*(row[0] for row in [*VIRTIO, *SCSI, *LAST, NVME]), *[serial] * paths,
            *(f"zero{number}" for number in range(FILLING))]


def _scsi(number, drive, serial, more=""):
    wwn = f",wwn=0x5000c500000{0x10000 + number:05x}"
    return ["-device", f"scsi-hd,bus=scsi.0,scsi-id={number},drive={drive},serial={serial}{wwn}" +
            (f",{more}" if more else "")]


def arguments(folder):
    """Makes the disks' files, all zero, in a folder; answers the emulator's arguments."""
    words = ["-device", "virtio-scsi-pci,id=scsi"]

    def file(serial, size):
        path = folder / f"{serial}.img"
        with open(path, "wb") as image:
            image.truncate(size * MIB)
        return path

    def drive(name, serial, size, more=""):
        words.extend(["-drive", f"if=none,id={name},format=raw,cache=unsafe,file={file(serial, size)}{more}"])

    for serial, size in VIRTIO:
        drive(serial, serial, size)
        words.extend(["-device", f"virtio-blk-pci,drive={serial},serial={serial}"])
    number = 0
    for serial, size, more in SCSI:
        drive(serial, serial, size)
        words.extend(_scsi(number, serial, serial, more))
        number += 1
    serial, size, count = PATHS
    for path in range(count):
        drive(f"{serial}{path}", serial, size, ",file.locking=off")
        words.extend(["-device", f"scsi-hd,bus=scsi.0,scsi-id={number},drive={serial}{path},serial={serial},"
                      "wwn=0x5000c500000abcde,share-rw=on"])
        number += 1
    for filling in range(FILLING):
        words.extend(["-blockdev", f"driver=null-co,node-name=zero{filling},size={8 * MIB},read-zeroes=on"])
        words.extend(_scsi(number, f"zero{filling}", f"zero{filling}"))
        number += 1
    for serial, size, more in LAST:
        drive(serial, serial, size)
        words.extend(_scsi(number, serial, serial, more))
        number += 1
    words.extend(["-device", f"scsi-cd,bus=scsi.0,scsi-id={number}"])  # without a medium
    serial, size, count = NVME
    words.extend(["-device", "nvme-subsys,id=subsystem,nqn=subsystem"])
    for controller in range(count):
        words.extend(["-device", f"nvme,id=nvme{controller},serial={serial},subsys=subsystem"])
    drive(serial, serial, size)
    words.extend(["-device", f"nvme-ns,drive={serial},nsid=1,shared=on,bus=nvme0"])
    return words
