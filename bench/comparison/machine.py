"""A machine of real loop devices with real partitions and mounts, the same for every tool.

`lsblk` reads the kernel's sysfs, where a loop device is always named loopN. So the devices keep their kernel names in
/sys/block, which shows only ours, and have second nodes in /dev under the names that the partition collector tries: sda
to sdz, then nvme0n1 and so on. `diskmgt` reads every disk under both names, just as it reads a SCSI disk twice under one.
Tools that skip names beginning with "loop" run in a second view of the same machine, in which /sys/block lists the
devices under their second names."""

import fcntl
import os
import stat
import struct
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "tests" / "devices"))

from machine import kernel  # noqa: E402

MOUNTS = {1: 14, 8: 28, 26: 64, 100: 212}
PARTITIONS = {1: 4, 8: 44, 26: 143, 100: 550}
SCRATCH = "/dev/.machine"
_MIB = 1 << 20
_DISK = 16 * _MIB
_NODES = {"null": (1, 3), "zero": (1, 5), "full": (1, 7), "random": (1, 8), "urandom": (1, 9), "tty": (5, 0)}
_LINKS = {"fd": "/proc/self/fd", "stdin": "fd/0", "stdout": "fd/1", "stderr": "fd/2"}
_PSEUDO = ("/run", "/dev/shm", "/media")  # tmpfs each
_SET_STATUS, _GET_STATUS, _LO_FLAGS_PARTSCAN = 0x4C04, 0x4C05, 8
_INFO, _FLAGS_AT = 232, 52  # struct loop_info64
_GPT_TYPE = "0FC63DAF-8483-4772-8E79-3D69D8477DE4"


def disk_names(count):
    letters = [f"sd{chr(ord('a') + number)}" for number in range(26)]
    nvme = [f"nvme{controller}n{space}" for controller in range(10) for space in range(1, 10)]
    return (letters + nvme)[:count]


def partition_name(disk, number):
    return f"{disk}p{number}" if disk[-1].isdigit() else f"{disk}{number}"


def build(count):
    """Turns the private name space of this process into the machine. Returns its disks, name to loop device, which
    live as long as they are held."""
    os.umask(0)
    kernel.mount("", "/", flags=kernel.MS_REC | kernel.MS_PRIVATE)
    _unmount_all_but(("/", "/proc", "/sys"))
    kernel.mount("udev", "/dev", "tmpfs", options="mode=755")
    for name, device in _NODES.items():
        os.mknod(f"/dev/{name}", stat.S_IFCHR | 0o666, os.makedev(*device))
    for name, target in _LINKS.items():
        os.symlink(target, f"/dev/{name}")
    os.mkdir("/dev/shm")
    os.mkdir(SCRATCH, 0o700)
    for place in _PSEUDO + (SCRATCH,):
        kernel.mount("tmpfs", place, "tmpfs", options="mode=755")
    file_system = _empty_file_system()
    partition_counts = _spread(PARTITIONS[count], count)
    control = kernel.loop_control(f"{SCRATCH}/loop-control")
    disks = {}
    for index, (name, partitions) in enumerate(zip(disk_names(count), partition_counts)):
        disks[name] = _make_disk(control, name, partitions, index % 2 == 0, file_system)
    os.close(control)
    show_in_sysfs({f"loop{loop.number}": loop for loop in disks.values()})
    _mount_partitions(disks, partition_counts, MOUNTS[count])
    os.umask(0o022)
    return disks


def show_in_sysfs(names):
    """A /sys/block with only these names, linked to the devices like the kernel's entries."""
    kernel.mount("tmpfs", "/sys/block", "tmpfs", options="mode=755")
    for name, loop in names.items():
        os.symlink(f"../devices/virtual/block/loop{loop.number}", f"/sys/block/{name}")


def _unmount_all_but(kept):
    with open("/proc/self/mountinfo", encoding="utf-8") as table:
        places = [line.split()[4].encode().decode("unicode_escape") for line in table]
    for place in reversed(places):
        if place not in kept:
            try:
                kernel.unmount(place)
            except OSError:
                pass  # unmounted with the one above it


def _spread(total, count):
    """Partitions of each disk, distributed evenly."""
    return [total * (index + 1) // count - total * index // count for index in range(count)]


def _empty_file_system():
    image = f"{SCRATCH}/file-system"
    with open(image, "wb") as new:
        new.truncate(_MIB)
    _run(["mkfs.ext2", "-q", "-F", image])
    with open(image, "rb") as made:
        content = made.read()
    os.unlink(image)
    return content


def _table(partitions, is_gpt):
    """A script for sfdisk and the (number, start sector) of the partitions that can hold a file system."""
    if is_gpt or partitions <= 4:
        starts = [2048 * number for number in range(1, partitions + 1)]
        kind = _GPT_TYPE if is_gpt else "83"
        lines = [f"{number}: start={start}, size=2048, type={kind}" for number, start in enumerate(starts, 1)]
        return ["label: gpt" if is_gpt else "label: dos"] + lines, list(enumerate(starts, 1))
    primaries = [(number, 2048 * number) for number in (1, 2, 3)]
    logicals = [(number, 8192 + 4096 * (number - 5) + 2048) for number in range(5, partitions + 1)]
    lines = [f"{number}: start={start}, size=2048, type=83" for number, start in primaries]
    lines += [f"4: start=8192, size={4096 * len(logicals)}, type=5"]
    lines += [f"{number}: start={start}, size=2048, type=83" for number, start in logicals]
    return ["label: dos"] + lines, primaries + logicals


def _make_disk(control, name, partitions, is_gpt, file_system):
    image = f"{SCRATCH}/{name}.img"
    script, holders = _table(partitions, is_gpt)
    with open(image, "wb") as new:
        new.truncate(_DISK)
    _run(["sfdisk", "--quiet", "--no-reread", "--no-tell-kernel", image], "\n".join(script) + "\n")
    with open(image, "r+b") as disk:
        for _, start in holders:
            disk.seek(start * 512)
            disk.write(file_system)
    loop = kernel.Loop(control, SCRATCH, image)
    for alias in (name, f"loop{loop.number}"):
        os.mknod(f"/dev/{alias}", stat.S_IFBLK | 0o660, loop.device)
    _show_partitions(loop)
    for entry in os.listdir(f"/sys/block/loop{loop.number}"):
        number = entry.removeprefix(f"loop{loop.number}p")
        if not number.isdigit():
            continue
        with open(f"/sys/block/loop{loop.number}/{entry}/dev", encoding="ascii") as text:
            device = os.makedev(*map(int, text.read().split(":")))
        for alias in (partition_name(name, number), entry):
            os.mknod(f"/dev/{alias}", stat.S_IFBLK | 0o660, device)
    loop.holders = [number for number, _ in holders]
    return loop


def _show_partitions(loop):
    """Makes partitions visible. The flag also makes the kernel remove them when the device is freed; the tool adds
    them on kernels that do not read the tables."""
    status = bytearray(_INFO)
    fcntl.ioctl(loop.fd, _GET_STATUS, status)
    flags = struct.unpack_from("=I", status, _FLAGS_AT)[0]
    struct.pack_into("=I", status, _FLAGS_AT, flags | _LO_FLAGS_PARTSCAN)
    fcntl.ioctl(loop.fd, _SET_STATUS, bytes(status))
    _run(["partx", "--update", f"/dev/loop{loop.number}"])


def _mount_partitions(disks, partition_counts, wanted):
    with open("/proc/self/mounts", encoding="utf-8") as table:
        present = len(table.readlines())
    rounds = max(partition_counts)
    # In rounds, so that every disk has a mount before any disk has all of its mounts.
    candidates = [(disk, loop.holders[turn]) for turn in range(rounds)
                  for disk, loop in disks.items() if turn < len(loop.holders)]
    for disk, number in candidates[:max(0, wanted - present)]:
        source = partition_name(disk, number)
        os.mkdir(f"/media/{source}")
        kernel.mount(f"/dev/{source}", f"/media/{source}", "ext2")
    for extra in range(wanted - present - len(candidates)):
        os.mkdir(f"/media/extra{extra}")
        kernel.mount("tmpfs", f"/media/extra{extra}", "tmpfs")


def _run(command, text=""):
    done = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    if done.returncode:
        raise OSError(done.returncode, f"{' '.join(command)}: {done.stderr.strip()}")
